"""A production project as startproject lays it out, less what needs tables of its own: sessions, users, messages."""
import os
import secrets

# Without DEBUG templates are compiled once and kept.
DEBUG = False
ALLOWED_HOSTS = ['127.0.0.1']
# Nothing is signed.
SECRET_KEY = secrets.token_hex()

INSTALLED_APPS = ['django_tables2', 'items']
MIDDLEWARE = [
    'django.middleware.security.SecurityMiddleware',
    'django.middleware.common.CommonMiddleware',
    'django.middleware.csrf.CsrfViewMiddleware',
    'django.middleware.clickjacking.XFrameOptionsMiddleware',
]
ROOT_URLCONF = 'items.views'
TEMPLATES = [{
    'BACKEND': 'django.template.backends.django.DjangoTemplates',
    'APP_DIRS': True,
    # django-tables2 makes its links from the request.
    'OPTIONS': {'context_processors': ['django.template.context_processors.request']},
}]
# Opened once by each worker and kept.
DATABASES = {'default': {
    'ENGINE': 'django.db.backends.sqlite3',
    'NAME': f"file:{os.environ['ITEMS']}?mode=ro",
    'CONN_MAX_AGE': None,
}}

LANGUAGE_CODE = 'en-us'
TIME_ZONE = 'UTC'
USE_I18N = True
USE_L10N = True
USE_TZ = True
