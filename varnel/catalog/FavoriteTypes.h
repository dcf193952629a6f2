// The public enumeration of the kinds of favourites. Scripts know it by these names, as numbers.
#pragma once

#include <span>

#include "varnel/table/TableTypes.h"

namespace varnel {

enum FavoriteTypes : Long {
  DefaultFavorite = 0,
  WarehouseFavorite = 1,
};

// Every name of the enumeration above, in its order.
std::span<const EnumerationName> FavoriteEnumerationNames();

}  // namespace varnel
