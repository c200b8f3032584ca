"""LibreOffice Base, headless: a database document over the data source, read and scrolled as its forms do.

It is run by the system's Python, which has LibreOffice's bridge."""
from office import database, named, wait_for_end  # its bridge makes the next one possible
from com.sun.star.sdbc import SQLException
from steps import NESTED, WHOLE, check, check_plain, failing, step

TABLE, COMMAND = 0, 2  # com.sun.star.sdb.CommandType
document, source = database("clients")
connection = source.getConnection("", "")


def row_set(kind, command):
    rows = named("com.sun.star.sdb.RowSet")
    rows.DataSourceName, rows.CommandType, rows.Command = document, kind, command
    rows.execute()
    return rows


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
          [f"vhcass_clients.{name}" for name in ("kinds", "loaded", "long_texts", "nested", "orders", "plain", "whole")])
    columns = connection.Tables.getByName("vhcass_clients.whole").Columns
    check(sorted(columns.ElementNames), ["i", "id", "s", "ti", "ts"])


@step("plain")
def plain():
    def read(text):
        rows = row_set(COMMAND, text)
        while rows.next():
            yield rows.getInt(1), rows.getString(2)

    check_plain(lambda text: list(read(text)), SQLException)


wait_for_end()
