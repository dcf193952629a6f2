"""The list page with django-tables2, paged as it comes: COUNT, then OFFSET."""
from django.urls import path
from django_tables2 import SingleTableView, Table

from .models import Item


class ItemTable(Table):
    class Meta:
        model = Item
        order_by = 'name'


class ItemList(SingleTableView):
    model = Item
    table_class = ItemTable
    template_name = 'items.html'
    # The table's pages; `paginate_by` would have the view count and page besides.
    table_pagination = {'per_page': 10}


urlpatterns = [path('list', ItemList.as_view())]
