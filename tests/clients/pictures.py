"""Makes docs/pictures/isql.png and calc.png: isql and LibreOffice Calc showing a table of the data source [cassandra],
in a keyspace `shop` that must not be there. By the system's Python, with Debian's python3-pil, python3-pyodbc,
poppler-utils and those of LibreOffice."""
import pathlib
import subprocess

import pyodbc
from office import database, folder, named, wait_for_end  # its bridge makes the next ones possible
from com.sun.star.beans import PropertyValue
from com.sun.star.sheet.DataImportMode import TABLE
from com.sun.star.table import CellRangeAddress
from PIL import Image, ImageChops, ImageDraw, ImageFont

PICTURES = pathlib.Path(__file__).parents[2] / "docs" / "pictures"
FONT = ImageFont.truetype("/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf", 14)
STATEMENTS = [
    "CREATE KEYSPACE shop WITH replication = {'class': 'SimpleStrategy', 'replication_factor': 1}",
    "CREATE TABLE shop.orders (id int PRIMARY KEY, placed timestamp, total decimal, note text, lines list<text>)",
    "INSERT INTO shop.orders (id, placed, total, note, lines) VALUES (1, '2024-05-06 07:08:09+0000', -2.56, 'żółć', ['tea'])",
    "INSERT INTO shop.orders (id, placed, total, note, lines) VALUES (2, '2024-05-07 10:00:00+0000', 19.90, 'Ελληνικά',"
    " ['rye bread', 'honey'])",
    "INSERT INTO shop.orders (id, placed, total) VALUES (3, '2024-05-08 16:30:00+0000', 7)",
]


def isql():
    query = "SELECT id, placed, total, lines FROM shop.orders"
    command = ["isql", "-v", "-k", "DSN=cassandra;StringLen=24"]
    said = subprocess.run([*command, "-b"], input=query, capture_output=True, encoding="utf-8", check=True).stdout
    text = "\n".join(["$ isql -v -k 'DSN=cassandra;StringLen=24'", f"SQL> {query}", said.strip()])
    _, _, right, bottom = ImageDraw.Draw(Image.new("L", (1, 1))).multiline_textbbox((10, 10), text, FONT)
    picture = Image.new("L", (right + 10, bottom + 10), 255)
    ImageDraw.Draw(picture).multiline_text((10, 10), text, 0, FONT)
    picture.save(PICTURES / "isql.png", optimize=True)


def calc():
    def value(name, of):
        return PropertyValue(name, 0, of, 0)

    document, _ = database("cassandra")
    sheets = named("com.sun.star.frame.Desktop").loadComponentFromURL("private:factory/scalc", "_blank", 0, (value("Hidden", True),))
    sheets.DatabaseRanges.addNewByName("orders", CellRangeAddress(0, 0, 0, 4, 3))
    area = sheets.DatabaseRanges.getByName("orders")
    area.ReferredCells.doImport((value("DatabaseName", document), value("SourceType", TABLE), value("SourceObject", "shop.orders")))
    sheet = sheets.Sheets.getByIndex(0)
    sheet.Columns.OptimalWidth = True
    style = sheets.StyleFamilies.getByName("PageStyles").getByName(sheet.PageStyle)
    style.HeaderIsOn = style.FooterIsOn = False
    style.PrintGrid = style.PrintHeaders = True
    paper = pathlib.Path(folder.name, "calc")
    sheets.storeToURL(paper.as_uri(), (value("FilterName", "calc_pdf_Export"),))
    sheets.close(True)
    subprocess.run(["pdftoppm", "-png", "-gray", "-r", "120", "-singlefile", paper, paper], check=True)
    picture = Image.open(paper.with_suffix(".png"))
    left, top, right, bottom = ImageChops.invert(picture).getbbox()
    picture.crop((left - 10, top - 10, right + 10, bottom + 10)).save(PICTURES / "calc.png", optimize=True)


PICTURES.mkdir(exist_ok=True)
connection = pyodbc.connect("DSN=cassandra", autocommit=True)
try:
    for statement in STATEMENTS:
        connection.execute(statement)
    isql()
    calc()
finally:
    connection.execute("DROP KEYSPACE shop")
    wait_for_end()
