// A column of a list: what of a row it shows, and how.
#pragma once

#include <memory>

#include "varnel/automation/Object.h"

namespace varnel {

// How a value is written.
enum class ListFormatKind { Plain, Number, Date, DateAndTime };

struct ListLink {
  String file;       // below the site's root; empty: no link
  String field;      // whose value the link bears
  String parameter;  // under this name
};

struct ListColumnFields {
  String m_sName;        // in the query: "P.TITLE"
  String m_sField;       // among the result's fields: "TITLE"
  String m_sTitle;       // above the column
  String m_sExpression;  // in a condition
  ListLink m_Link;
  ListFormatKind m_eFormat = ListFormatKind::Plain;
  Long m_lDecimals = -1;  // of Number; -1: as many as the locale has
  String m_sAlign;        // "start", "center", "end"; empty: numbers at the end
  bool m_bSortable = true;
  String m_sSortName;  // what a sort by the column sorts by; empty: the column itself
  ObjectPtr m_Template;
};

// Made by `List.Column`; each of its operations gives the column itself, so that they can be written one behind the
// other. Failures have number 5.
class ListColumn : public Object, public ListColumnFields {
 public:
  ListColumn(const String& name, const String& title);
  const ClassInfo& Class() const override;
  void LetGo() noexcept override { m_Template = nullptr; }

  // The cell leads to page `file` of the site, which gets the row's value of `field` as its parameter `parameter`; left
  // out, that is the field's own name. A row whose value is Null has no link.
  std::shared_ptr<ListColumn> Link(const String& file, const String& field, const Variant& parameter);
  // "number" with that many decimals, 0 to 9, "date", "datetime", or "text", as without it: in the visitor's locale.
  std::shared_ptr<ListColumn> Format(const String& kind, const Variant& decimals);
  // "start", "center" or "end" of the line; without it numbers stand at the end.
  std::shared_ptr<ListColumn> Align(const String& side);
  // Whether visitors may sort by it, as they may at first.
  std::shared_ptr<ListColumn> Sortable(bool isSortable);
  // Visitors who sort by this column sort by that one of the select list: "P.MONTHNUMBER".
  std::shared_ptr<ListColumn> SortBy(const String& name);
  // What conditions compare where the column's name is only one of the select list: "P.PRICE * 1.19".
  std::shared_ptr<ListColumn> Expression(const String& expression);
  // `function(row, value)` gives the cell's HTML, which is written as it stands; `row("FIELD")` is a value of the row.
  std::shared_ptr<ListColumn> Template(const ObjectPtr& function);

  // The same name in any case of letters, with or without what stands before its dot.
  bool IsNamed(StringView name) const;
  // What an ORDER BY and a condition of a sort by this column name.
  const String& SortName() const { return m_sSortName.empty() ? m_sName : m_sSortName; }
  const String& SortExpression() const { return m_sSortName.empty() ? m_sExpression : m_sSortName; }

 private:
  std::shared_ptr<ListColumn> Self() { return SharedFrom(*this); }
};

// Behind the last dot.
String FieldOfName(StringView name);

}  // namespace varnel
