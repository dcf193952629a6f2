from django.db import models


class Item(models.Model):
    id = models.IntegerField('Number', primary_key=True)
    name = models.CharField(max_length=60)
    maker = models.CharField(max_length=40)
    category = models.CharField(max_length=40)
    price = models.FloatField()
    stock = models.IntegerField()

    class Meta:
        managed = False
        db_table = 'item'
