#include "varnel/catalog/ListClauses.h"
#include "varnel/catalog/QueryTexts.h"

namespace varnel::catalog_text {

namespace {

// A search text as a literal of LIKE, in which "*" is the wildcard.
String Pattern(const String& search) { return u"'" + Replace(search, u"*", u"%") + u"'"; }

String PartNumberClause(const String& search) {
  if (search.empty()) return {};
  const String pattern = Pattern(search);
  return u" AND (PARTNUMBER LIKE " + pattern + u" OR BUYFROMPARTNUMBER LIKE " + pattern + u")";
}

}  // namespace

String SelectProduct() {
  return u"SELECT DISTINCT"
         u" P.PRODUCTID, P.PROPERTYGROUPID, P.MANUFACTURERID,"
         u" P.PARTNUMBER, P.PRODUCTDESCRIPTION, P.PRODUCTREMARK,"
         u" P.IMAGEFILENAME,P.TECHNICALIMAGE, P.URL, P.UNITCODE, P.CONFIGURABLE,"
         u" P.COMMODITYCODE, P.CONTRACTCODE, P.NUMBER,"
         u" P.BUSINESSPARTNERID, P.USERID, "
         u" P.PRODUCTEFFECTIVITYDATE, P.PRODUCTEXPIRYDATE, P.CLASSCODE, P.SERVICEITEM";
}

String FromCatalogToCategory() {
  return u"FROM CATALOG C "
         u"INNER JOIN CATALOGNODE CN ON CN.CATALOGID = C.CATALOGID "
         u"INNER JOIN PRODUCTSBYCATEGORY PBC ON PBC.CATEGORYID = CN.CATEGORYID ";
}

String CatalogFilter(const String& iCatalogList) {
  if (iCatalogList == u"-1") return {};
  if (Trim(iCatalogList).empty()) return u" AND (0=1)";
  return u" AND (C.CATALOGID IN (" + iCatalogList + u"))";
}

String EffectiveBy(const String& iDate) {
  return u"(PRODUCTEFFECTIVITYDATE <= " + iDate + u" OR PRODUCTEFFECTIVITYDATE IS NULL)";
}

String CatalogProducts(const String& iCategory, const String& iUserID, const String& iDate) {
  return SelectProduct() +
         u", FAVORITES.PRESENT, PBC.SEQUENCE "
         u"FROM PRODUCT P "
         u"INNER JOIN PRODUCTSBYCATEGORY PBC ON PBC.PRODUCTID = P.PRODUCTID "
         u"LEFT OUTER JOIN FAVORITES "
         u"ON FAVORITES.USERID='" +
         iUserID +
         u"' AND P.PRODUCTID = FAVORITES.PRODUCTID "
         u"WHERE (PBC.CATEGORYID = " +
         iCategory +
         u")"
         u" AND (P.DISABLED = 0)"
         u" AND " +
         EffectiveBy(iDate) + u" ";
}

String QuickOrderProducts(const String& iDate, const String& iPartNrSearch, const String& iCatalogList) {
  return SelectProduct() + u" " + FromCatalogToCategory() +
         u"INNER JOIN PRODUCT P ON P.PRODUCTID = PBC.PRODUCTID "
         u"WHERE (P.DISABLED = 0) AND " +
         EffectiveBy(iDate) + PartNumberClause(iPartNrSearch) + CatalogFilter(iCatalogList);
}

String SupplierProducts(const String& iSupplier, const String& iField, const String& iValue) {
  const String all = u"SELECT * FROM PRODUCT WHERE BUSINESSPARTNERID = " + iSupplier;
  if (iField.empty() || iValue.empty()) return all;
  return all + u" AND " + iField + u" LIKE " + Pattern(iValue);
}

}  // namespace varnel::catalog_text
