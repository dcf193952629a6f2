// The pieces that several lists of products share.
#pragma once

#include "varnel/automation/String.h"

namespace varnel::catalog_text {

// "SELECT DISTINCT" and the product's columns, without what follows SERVICEITEM.
String SelectProduct();

// From the catalogues down to the places of products in categories.
String FromCatalogToCategory();

// " AND ..." for products of the catalogues in `iCatalogList`: nothing for "-1", no product for a blank list.
String CatalogFilter(const String& iCatalogList);

// A product that is neither disabled nor still to come, without the blank at the end.
String EffectiveBy(const String& iDate);

}  // namespace varnel::catalog_text
