#include "varnel/table/TableTypes.h"

namespace varnel {

namespace {

constexpr EnumerationName kNames[] = {
    {u"TableTypePlain", TableTypePlain},
    {u"TableTypeDataGrid", TableTypeDataGrid},
    {u"TableTypeProperty", TableTypeProperty},
    {u"TableTypeTitle", TableTypeTitle},
    {u"TableTypeWizard", TableTypeWizard},
    {u"AlignDefault", AlignDefault},
    {u"AlignLeft", AlignLeft},
    {u"AlignCenter", AlignCenter},
    {u"AlignRight", AlignRight},
    {u"VAlignDefault", VAlignDefault},
    {u"VAlignTop", VAlignTop},
    {u"VAlignMiddle", VAlignMiddle},
    {u"VAlignBottom", VAlignBottom},
};

}  // namespace

std::span<const EnumerationName> TableEnumerationNames() { return kNames; }

}  // namespace varnel
