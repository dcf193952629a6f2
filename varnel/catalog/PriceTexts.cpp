#include "varnel/catalog/QueryTexts.h"

namespace varnel::catalog_text {

namespace {

// Two blanks stand behind AND.
String OfGroup(const String& group) { return u" AND  GROUPBY ='" + group + u"'"; }

}  // namespace

String ProcurementPrices(const String& iProduct, const String& iGroup) {
  return u"SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = " + iProduct + OfGroup(iGroup);
}

String PricesOfDay(const String& iProduct, const String& iGroup, const String& iDateFrom,
                   const String& iDateTo) {
  return u"SELECT * FROM CATALOGPRODUCTPRICE "
         u"WHERE (PRODUCTID = " +
         iProduct + u")" + OfGroup(iGroup) +
         u" AND "
         u"(PRICEEFFECTIVEDATE <= " +
         iDateFrom +
         u") AND "
         u"(PRICEEXPIRYDATE IS NULL OR PRICEEXPIRYDATE >= " +
         iDateTo + u")";
}

}  // namespace varnel::catalog_text
