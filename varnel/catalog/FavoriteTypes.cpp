#include "varnel/catalog/FavoriteTypes.h"

#include <array>

namespace varnel {

std::span<const EnumerationName> FavoriteEnumerationNames() {
  static constexpr std::array kNames{
      EnumerationName{u"DefaultFavorite", DefaultFavorite},
      EnumerationName{u"WarehouseFavorite", WarehouseFavorite},
  };
  return kNames;
}

}  // namespace varnel
