"""All pages of a table of a SQLite file as grids, without a server: elements.py LIBRARY FILE.db MESSAGES
FILE.db holds a table ELEMENT and the folder MESSAGES the grid's words, as `varnel new` makes both."""
import html
import re
import sys

import varnel


def write_elements(library):
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
        grid.Cell(html.escape(rs("NAME").get("Value")))
        rs.MoveNext()
    page.Add(grid)
    return rs.GetUrlNext()


def main(path, database, messages):
    library = varnel.Library(path)
    library.set_application("Demo_ConnectionString", "Provider=SQLite;Mode=Read;Data Source=" + database)
    library.load_messages(messages)
    query = ""
    while True:
        with library.request("/example/elements", query) as request:
            link = write_elements(library)
        names = re.findall(r"<td>([A-Z][a-z]+)</td>", request.page)
        counter = re.search(r"Records [-0-9]+ of [0-9]+", request.page).group()
        print(f"{counter}: {', '.join(names)}")
        if not link:
            return
        query = link.partition("?")[2]


if __name__ == "__main__":
    main(*sys.argv[1:])
