"""LibreOffice Base, headless: a database document over the data source, read and scrolled as its forms do.

It is run by the system's Python, which has LibreOffice's bridge."""
import os
import pathlib
import subprocess
import tempfile
import time

import uno  # makes the next ones possible
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException
from com.sun.star.sdbc import SQLException
from steps import check, datetime, usual_steps

FIRST_SECONDS = 90  # a first start makes a profile
TABLE, COMMAND, INTEGER, TIME, TIMESTAMP = 0, 2, 4, 92, 93  # com.sun.star.sdb.CommandType, com.sun.star.sdbc.DataType
GETTERS = {INTEGER: "getInt", TIME: "getTime", TIMESTAMP: "getTimestamp"}
folder = tempfile.TemporaryDirectory()
pipe = f"pipe,name=vhcass{os.getpid()};urp;"
office = subprocess.Popen(
    ["soffice", "--headless", "--norestore", "--nologo", f"-env:UserInstallation=file://{folder.name}/profile",
     f"--accept={pipe}"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def bridge():
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    for _ in range(FIRST_SECONDS * 4):
        try:
            return resolver.resolve(f"uno:{pipe}StarOffice.ComponentContext")
        except NoConnectException:
            time.sleep(0.25)
    raise TimeoutError("LibreOffice did not start")


def named(name):
    return context.ServiceManager.createInstanceWithContext(name, context)


context = bridge()
document = pathlib.Path(folder.name, "clients.odb").as_uri()
source = named("com.sun.star.sdb.DatabaseContext").createInstance()
source.URL, source.Info = "sdbc:odbc:clients", (PropertyValue("CharSet", 0, "UTF-8", 0),)
source.DatabaseDocument.storeAsURL(document, ())
connection = source.getConnection("", "")


def row_set(kind, command):
    rows = named("com.sun.star.sdb.RowSet")
    rows.DataSourceName, rows.CommandType, rows.Command = document, kind, command
    rows.execute()
    return rows


def cell(rows, place):
    kind = rows.MetaData.getColumnType(place)
    value = getattr(rows, GETTERS.get(kind, "getString"))(place)
    if rows.wasNull():
        return None
    if kind == TIME:
        return datetime.time(value.Hours, value.Minutes, value.Seconds)
    if kind == TIMESTAMP:
        return datetime.datetime(value.Year, value.Month, value.Day, value.Hours, value.Minutes, value.Seconds)
    return value


def query(text, *parameters):
    got = []
    try:
        if text.startswith("SELECT"):
            rows = row_set(COMMAND, text)
            while rows.next():
                got.append([cell(rows, i + 1) for i in range(rows.MetaData.ColumnCount)])
        else:
            statement = connection.prepareStatement(text)
            for place, value in enumerate(parameters, 1):
                (statement.setInt if isinstance(value, int) else statement.setString)(place, value)
            statement.execute()
    except SQLException as problem:
        raise ValueError(f"{problem.SQLState} {problem.Message}")
    return got


def scroll():
    for key in range(1, 6):
        query(f"INSERT INTO vhcass_clients.loaded (id, s) VALUES ({key}, 'żółć {key}')")
    rows = row_set(TABLE, "vhcass_clients.loaded")
    order = []
    while rows.next():
        order.append(rows.getInt(1))
    check(sorted(order), [1, 2, 3, 4, 5])
    for move, place in ((rows.first, 0), (rows.last, 4), (rows.previous, 3), (lambda: rows.absolute(2), 1),
                        (lambda: rows.relative(2), 3), (rows.first, 0), (rows.next, 1)):
        check((move(), rows.getInt(1), rows.getString(2)), (True, order[place], f"żółć {order[place]}"))


def lists():
    names = connection.Tables.ElementNames
    check([name for name in names if name.startswith("vhcass_clients.")],
          [f"vhcass_clients.{name}" for name in ("kinds", "loaded", "long_texts", "nested", "orders", "plain", "whole")])
    check(sorted(connection.Tables.getByName("vhcass_clients.whole").Columns.ElementNames), ["i", "id", "s", "ti", "ts"])


usual_steps(query, ValueError, scroll=scroll, lists=lists)
try:
    named("com.sun.star.frame.Desktop").terminate()
    office.wait(20)
except Exception:
    office.kill()
