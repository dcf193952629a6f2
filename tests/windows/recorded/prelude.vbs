Const AlignDefault = -2, AlignLeft = -1, AlignCenter = 0, AlignRight = 1
Const VAlignDefault = -2, VAlignTop = -1, VAlignMiddle = 0, VAlignBottom = 1
Const DefaultFavorite = 0, WarehouseFavorite = 1
