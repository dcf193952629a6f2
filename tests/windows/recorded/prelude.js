// What pages of the Linux host have as global names, and JScript hasn't.
var AlignDefault = -2, AlignLeft = -1, AlignCenter = 0, AlignRight = 1;
var VAlignDefault = -2, VAlignTop = -1, VAlignMiddle = 0, VAlignBottom = 1;
var DefaultFavorite = 0, WarehouseFavorite = 1;
function CInt(value) { return Basic.CInt(value); }
function CLng(value) { return Basic.CLng(value); }
function CDbl(value) { return Basic.CDbl(value); }
function CStr(value) { return Basic.CStr(value); }
// JScript hands everything over by value: an object whose default value it is.
function ByRef(value) { return Basic.ByRef(value); }
