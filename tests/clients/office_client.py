"""LibreOffice Base, headless: a database document over the data source, read and scrolled as its forms do.

It is run by the system's Python, which has LibreOffice's bridge."""
import os
import pathlib
import subprocess
import tempfile
import time

import uno
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException
from com.sun.star.sdbc import SQLException
from steps import NESTED, WHOLE, check, failing, step

TABLE, COMMAND = 0, 2  # com.sun.star.sdb.CommandType
FIRST_SECONDS = 90  # a first start makes a profile
folder = tempfile.TemporaryDirectory()
pipe = f"vhcass{os.getpid()}"
office = subprocess.Popen(
    ["soffice", "--headless", "--norestore", "--nologo", f"-env:UserInstallation=file://{folder.name}/profile",
     f"--accept=pipe,name={pipe};urp;"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def bridge():
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    for _ in range(FIRST_SECONDS * 4):
        try:
            return resolver.resolve(f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
        except NoConnectException:
            time.sleep(0.25)
    raise TimeoutError("LibreOffice did not start")


def named(name):
    return context.ServiceManager.createInstanceWithContext(name, context)


def row_set(kind, command):
    rows = named("com.sun.star.sdb.RowSet")
    rows.DataSourceName, rows.CommandType, rows.Command = document, kind, command
    rows.execute()
    return rows


def wait_for_end():
    try:
        named("com.sun.star.frame.Desktop").terminate()
        office.wait(20)
    except Exception:
        office.kill()
        office.wait()


context = bridge()
document = pathlib.Path(folder.name, "clients.odb").as_uri()
source = named("com.sun.star.sdb.DatabaseContext").createInstance()
source.URL = "sdbc:odbc:clients"
source.Info = (PropertyValue("CharSet", 0, "UTF-8", 0),)
source.DatabaseDocument.storeAsURL(document, ())
connection = source.getConnection("", "")


@step("table")
def table():
    rows = row_set(TABLE, "vhcass_clients.whole")
    got = {}
    while rows.next():
        moment = rows.getTimestamp(rows.findColumn("ts"))
        clock = rows.getTime(rows.findColumn("ti"))
        number = rows.getInt(rows.findColumn("i"))
        got[rows.getInt(rows.findColumn("id"))] = (
            None if rows.wasNull() else number, (clock.Hours, clock.Minutes, clock.Seconds),
            (moment.Year, moment.Month, moment.Day, moment.Hours), rows.getString(rows.findColumn("s")))
    check(got, {key: (i, (ti.hour, ti.minute, ti.second), (ts.year, ts.month, ts.day, ts.hour), s)
                for key, i, ti, ts, s in WHOLE})


@step("scroll")
def scroll():
    statement = connection.createStatement()
    for key in range(1, 6):
        statement.execute(f"INSERT INTO vhcass_clients.loaded (id, s) VALUES ({key}, 'żółć {key}')")
    rows = row_set(COMMAND, 'SELECT * FROM "vhcass_clients"."loaded"')
    order = []
    while rows.next():
        order.append(rows.getInt(1))
    check(sorted(order), [1, 2, 3, 4, 5])
    at = [(rows.first, 0), (rows.last, 4), (rows.previous, 3), (lambda: rows.absolute(2), 1), (lambda: rows.relative(2), 3),
          (rows.first, 0), (rows.next, 1)]
    for move, place in at:
        check((move(), rows.getInt(1), rows.getString(2)), (True, order[place], f"żółć {order[place]}"))


@step("nested")
def nested():
    statement = connection.prepareStatement("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (1, ?, ?, ?, ?)")
    for place, literal in enumerate(NESTED, 1):
        statement.setString(place, literal)
    statement.execute()
    rows = row_set(COMMAND, 'SELECT "l", "m", "t", "a" FROM "vhcass_clients"."nested"')
    rows.next()
    check([rows.getString(place) for place in range(1, 5)], NESTED)


@step("errors")
def errors():
    statement = connection.createStatement()
    check(failing(lambda: statement.executeQuery("SELEC 1"), SQLException).SQLState, "42000")
    check(failing(lambda: statement.executeQuery("SELECT * FROM vhcass_clients.missing"), SQLException).SQLState, "42S02")


@step("lists")
def lists():
    names = connection.Tables.ElementNames
    check([name for name in names if name.startswith("vhcass_clients.")],
          [f"vhcass_clients.{name}" for name in ("kinds", "loaded", "long_texts", "nested", "orders", "whole")])
    columns = connection.Tables.getByName("vhcass_clients.whole").Columns
    check(sorted(columns.ElementNames), ["i", "id", "s", "ti", "ts"])


wait_for_end()
