#include "varnel/list/ListText.h"

#include <array>

namespace varnel {

namespace {

constexpr std::size_t kWords = static_cast<std::size_t>(ListWord::Count);

using Words = std::array<StringView, kWords>;

constexpr Words kNames{u"search",   u"show",     u"all",        u"pageSize",  u"reset",  u"first",
                       u"previous", u"next",     u"last",       u"pages",     u"page",   u"counter",
                       u"range",    u"moreThan", u"about",      u"nothing",   u"sortUp", u"sortDown",
                       u"unsort",   u"sortedUp", u"sortedDown", u"sortPlace", u"export", u"actions",
                       u"select",   u"selected", u"keep",       u"unselect",  u"tooMany"};

constexpr Words kEnglish{u"Search",
                         u"Show",
                         u"All",
                         u"Rows per page",
                         u"Reset",
                         u"First",
                         u"Previous",
                         u"Next",
                         u"Last",
                         u"Pages of %1",
                         u"Page %1",
                         u"%1 - %2 of %3",
                         u"%1 - %2",
                         u"more than %1",
                         u"about %1",
                         u"Nothing found",
                         u"sort ascending",
                         u"sort descending",
                         u"don't sort",
                         u"sorted ascending",
                         u"sorted descending",
                         u"sort criterion %1",
                         u"Download",
                         u"Actions",
                         u"Select %1",
                         u"%1 selected",
                         u"Keep selection",
                         u"Clear selection",
                         u"These are %1 rows: a file has %2 at most."};

constexpr Words kGerman{u"Suchen",
                        u"Anzeigen",
                        u"Alle",
                        u"Zeilen pro Seite",
                        u"Zur\u00fccksetzen",
                        u"Erste",
                        u"Vorige",
                        u"N\u00e4chste",
                        u"Letzte",
                        u"Seiten von %1",
                        u"Seite %1",
                        u"%1 - %2 von %3",
                        u"%1 - %2",
                        u"mehr als %1",
                        u"etwa %1",
                        u"Nichts gefunden",
                        u"aufsteigend sortieren",
                        u"absteigend sortieren",
                        u"nicht sortieren",
                        u"aufsteigend sortiert",
                        u"absteigend sortiert",
                        u"%1. Sortierkriterium",
                        u"Herunterladen",
                        u"Aktionen",
                        u"%1 ausw\u00e4hlen",
                        u"%1 ausgew\u00e4hlt",
                        u"Auswahl merken",
                        u"Auswahl aufheben",
                        u"Das sind %1 Zeilen: Eine Datei hat h\u00f6chstens %2."};

constexpr Words kFrench{u"Rechercher",
                        u"Afficher",
                        u"Tous",
                        u"Lignes par page",
                        u"R\u00e9initialiser",
                        u"Premi\u00e8re",
                        u"Pr\u00e9c\u00e9dente",
                        u"Suivante",
                        u"Derni\u00e8re",
                        u"Pages de %1",
                        u"Page %1",
                        u"%1 - %2 sur %3",
                        u"%1 - %2",
                        u"plus de %1",
                        u"environ %1",
                        u"Aucun r\u00e9sultat",
                        u"trier par ordre croissant",
                        u"trier par ordre d\u00e9croissant",
                        u"ne pas trier",
                        u"tri croissant",
                        u"tri d\u00e9croissant",
                        u"crit\u00e8re de tri %1",
                        u"T\u00e9l\u00e9charger",
                        u"Actions",
                        u"S\u00e9lectionner %1",
                        u"S\u00e9lection\u00a0: %1",
                        u"Garder la s\u00e9lection",
                        u"Effacer la s\u00e9lection",
                        u"Cela fait %1 lignes\u00a0: un fichier en a %2 au plus."};

constexpr Words kPolish{u"Szukaj",
                        u"Poka\u017c",
                        u"Wszystkie",
                        u"Wierszy na stronie",
                        u"Wyczy\u015b\u0107",
                        u"Pierwsza",
                        u"Poprzednia",
                        u"Nast\u0119pna",
                        u"Ostatnia",
                        u"Strony: %1",
                        u"Strona %1",
                        u"%1 - %2 z %3",
                        u"%1 - %2",
                        u"ponad %1",
                        u"oko\u0142o %1",
                        u"Nic nie znaleziono",
                        u"sortuj rosn\u0105co",
                        u"sortuj malej\u0105co",
                        u"nie sortuj",
                        u"posortowane rosn\u0105co",
                        u"posortowane malej\u0105co",
                        u"kryterium sortowania %1",
                        u"Pobierz",
                        u"Czynno\u015bci",
                        u"Zaznacz %1",
                        u"Zaznaczono: %1",
                        u"Zapami\u0119taj wyb\u00f3r",
                        u"Wyczy\u015b\u0107 wyb\u00f3r",
                        u"To wierszy: %1. Plik ma ich najwy\u017cej %2."};

constexpr Words kHindi{u"\u0916\u094b\u091c\u0947\u0902",
                       u"\u0926\u093f\u0916\u093e\u090f\u0901",
                       u"\u0938\u092d\u0940",
                       u"\u092a\u094d\u0930\u0924\u093f \u092a\u0943\u0937\u094d\u0920 "
                       u"\u092a\u0902\u0915\u094d\u0924\u093f\u092f\u093e\u0901",
                       u"\u0930\u0940\u0938\u0947\u091f \u0915\u0930\u0947\u0902",
                       u"\u092a\u0939\u0932\u093e",
                       u"\u092a\u093f\u091b\u0932\u093e",
                       u"\u0905\u0917\u0932\u093e",
                       u"\u0905\u0902\u0924\u093f\u092e",
                       u"%1 \u0915\u0947 \u092a\u0943\u0937\u094d\u0920",
                       u"\u092a\u0943\u0937\u094d\u0920 %1",
                       u"%1 - %2, \u0915\u0941\u0932 %3",
                       u"%1 - %2",
                       u"%1 \u0938\u0947 \u0905\u0927\u093f\u0915",
                       u"\u0932\u0917\u092d\u0917 %1",
                       u"\u0915\u0941\u091b \u0928\u0939\u0940\u0902 \u092e\u093f\u0932\u093e",
                       u"\u0906\u0930\u094b\u0939\u0940 \u0915\u094d\u0930\u092e \u0926\u0947\u0902",
                       u"\u0905\u0935\u0930\u094b\u0939\u0940 \u0915\u094d\u0930\u092e \u0926\u0947\u0902",
                       u"\u0915\u094d\u0930\u092e \u0939\u091f\u093e\u090f\u0901",
                       u"\u0906\u0930\u094b\u0939\u0940 \u0915\u094d\u0930\u092e",
                       u"\u0905\u0935\u0930\u094b\u0939\u0940 \u0915\u094d\u0930\u092e",
                       u"\u0915\u094d\u0930\u092e \u0915\u0940 \u0915\u0938\u094c\u091f\u0940 %1",
                       u"\u0921\u093e\u0909\u0928\u0932\u094b\u0921 \u0915\u0930\u0947\u0902",
                       u"\u0915\u094d\u0930\u093f\u092f\u093e\u090f\u0901",
                       u"%1 \u091a\u0941\u0928\u0947\u0902",
                       u"%1 \u091a\u0941\u0928\u0947 \u0917\u090f",
                       u"\u091a\u092f\u0928 \u0930\u0916\u0947\u0902",
                       u"\u091a\u092f\u0928 \u0939\u091f\u093e\u090f\u0901",
                       u"\u092f\u0947 %1 \u092a\u0902\u0915\u094d\u0924\u093f\u092f\u093e\u0901 "
                       u"\u0939\u0948\u0902: \u0939\u0930 \u092b\u093c\u093e\u0907\u0932 \u092e\u0947\u0902 "
                       u"\u0905\u0927\u093f\u0915\u0924\u092e %2."};

// The low ten bits of a locale tell its language.
const Words& WordsOf(Long lcid) {
  switch (lcid & 0x3FF) {
    case 0x07:
      return kGerman;
    case 0x0C:
      return kFrench;
    case 0x15:
      return kPolish;
    case 0x39:
      return kHindi;
    default:
      return kEnglish;
  }
}

}  // namespace

StringView WordOf(ListWord word, Long lcid) { return WordsOf(lcid)[static_cast<std::size_t>(word)]; }

StringView NameOfWord(ListWord word) {
  return word == ListWord::Count ? StringView() : kNames[static_cast<std::size_t>(word)];
}

String Filled(StringView text, StringView first, StringView second, StringView third) {
  String filled;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t place = text[i] == u'%' && i + 1 < text.size() ? text[i + 1] : u'0';
    if (place < u'1' || place > u'3') {
      filled += text[i];
      continue;
    }
    filled += place == u'1' ? first : place == u'2' ? second : third;
    ++i;
  }
  return filled;
}

}  // namespace varnel
