"""All pages of a table of a SQLite file as grids, without a server: elements.py LIBRARY FILE.db MESSAGES
FILE.db holds a table ELEMENT and the folder MESSAGES the grid's words, as `varnel new` makes both."""
import html
import re
import sys

import varnel


def write_elements(library):
    """Writes one page; gives the names on it and the link to the next one, which is empty on the last."""
    names = []
    page = library.create("Varnel.Page")
    page.OpenDatabaseConnection("Demo")
    rs = page.DRecordset()
    rs.SetPageSize(25)
    rs.SetRecCountON()
    grid = page.DGrid(rs, "Elements")
    grid.Col("Symbol")
    grid.Col("Name", iWidth=60, iSortFields="NAME")
    rs.OpenRS("SELECT ATOMICNUMBER, SYMBOL, NAME FROM ELEMENT", iPrimaryKeyFields="ATOMICNUMBER")
    while not rs.get("EOF"):
        grid.Cell(html.escape(rs("SYMBOL").get("Value")))
        names.append(rs("NAME").get("Value"))
        grid.Cell(html.escape(names[-1]))
        rs.MoveNext()
    page.Add(grid)
    is_last = rs.GetRecordNumberForLastRecordOnPage() == rs.GetTotalNumberOfRecords()
    return names, "" if is_last else rs.GetUrlNext()


def main(path, database, messages):
    library = varnel.Library(path)
    library.set_application("Demo_ConnectionString", "Provider=SQLite;Mode=Read;Data Source=" + database)
    library.load_messages(messages)
    query = ""
    while True:
        with library.request("/example/elements", query) as request:
            names, link = write_elements(library)
        counter = re.search(r"Records [-0-9]+ of [0-9]+", request.page).group()
        print(f"{counter}: {', '.join(names)}")
        if not link:
            return
        query = link.partition("?")[2]


if __name__ == "__main__":
    main(*sys.argv[1:])
