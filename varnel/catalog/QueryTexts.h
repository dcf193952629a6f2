// The statements of the catalogue, to the last blank. Numbers and dates come in as SQL literals
// (Utilities::SQLEncodeLng, SQLEncodeDate). User ids, search texts, catalogue lists and groups stand in the
// statement as they come: whoever calls has made sure of their quotes.
#pragma once

#include "varnel/automation/String.h"

namespace varnel::catalog_text {

// Of every favourite type but -1, which stands for all: 1 is a warehouse favourite, any other an ordinary
// one.
inline constexpr Long kAllFavoriteTypes = -1;

// Lists.
String CatalogProducts(const String& iCategory, const String& iUserID, const String& iDate);
String QuickOrderProducts(const String& iDate, const String& iPartNrSearch, const String& iCatalogList);
String SupplierProducts(const String& iSupplier, const String& iField, const String& iValue);

// Favourites. `iFolderClause` is FolderClause(...), or empty for all folders.
String FavoriteProducts(const String& iUserID, const String& iDate, const String& iFolderClause,
                        const String& iCatalogList, Long iFavoriteType);
String FolderClause(Long iFolderID);
// What is true of a favourite whose product no catalogue of the list reaches: " ... WHERE ...".
String StaleFavoriteCondition(const String& iUserID, const String& iCatalogList, Long iFavoriteType);
String SelectFavorites(const String& iCondition);
String DeleteFavorites(const String& iCondition);

// A product's sheet. A stock flag is a clause of StockItemClause, or empty.
String ProductData(const String& iProduct);
String ProductPropertyData(const String& iProduct);
String ProductSheetPropertyData(const String& iProduct);
String ProductAttachmentData(const String& iProduct);
String AlternativeProducts(const String& iProduct);
String AlternativesPresent(const String& iProduct, const String& iDateFrom, const String& iDateTo);
String StockItemClause(StringView iTable, const String& iFlag);
String CategoryOfNode(const String& iNode);
String ProductPropertyValues(const String& iProduct);

// Prices.
String ProcurementPrices(const String& iProduct, const String& iGroup);
String PricesOfDay(const String& iProduct, const String& iGroup, const String& iDateFrom,
                   const String& iDateTo);

}  // namespace varnel::catalog_text
