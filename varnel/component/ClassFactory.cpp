#include "varnel/component/ClassFactory.h"

#include <algorithm>
#include <array>

#include "varnel/catalog/CatalogQuery.h"
#include "varnel/grid/DGrid.h"
#include "varnel/list/List.h"
#include "varnel/locale/DataFunctions.h"
#include "varnel/page/Page.h"
#include "varnel/page/PageUtil.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/table/Table.h"
#include "varnel/utilities/Upload.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {

namespace {

struct CreatableClass {
  StringView progID;
  ObjectPtr (*make)();
};

constexpr std::array kClasses{
    CreatableClass{u"Varnel.Page", [] { return ObjectPtr(std::make_shared<Page>()); }},
    CreatableClass{u"Varnel.PageUtil", [] { return ObjectPtr(std::make_shared<PageUtil>()); }},
    CreatableClass{u"Varnel.Table", MakeTable},
    CreatableClass{u"Varnel.DRecordset", MakeDRecordset},
    CreatableClass{u"Varnel.DGrid", MakeDGrid},
    CreatableClass{u"Varnel.Upload", MakeUpload},
    CreatableClass{u"Varnel.Utilities", MakeUtilities},
    CreatableClass{u"Varnel.CatalogQuery", MakeCatalogQuery},
    CreatableClass{u"Varnel.DataFunctions", MakeDataFunctions},
    CreatableClass{u"Varnel.List", MakeList},
};

}  // namespace

ObjectPtr CreateComponent(StringView progID) {
  const auto found = std::find_if(kClasses.begin(), kClasses.end(), [&](const CreatableClass& creatable) {
    return EqualsNoCase(creatable.progID, progID);
  });
  return found == kClasses.end() ? nullptr : found->make();
}

std::vector<String> ComponentNames() {
  std::vector<String> names;
  names.reserve(kClasses.size());
  for (const CreatableClass& creatable : kClasses) names.emplace_back(creatable.progID);
  return names;
}

}  // namespace varnel
