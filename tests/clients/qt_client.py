"""Qt's QODBC by PyQt, whose queries and models scroll unless they are told otherwise."""
import os

from PyQt5.QtCore import QByteArray, QCoreApplication, QDate, QDateTime, QTime, QVariant
from PyQt5.QtSql import QSqlDatabase, QSqlQuery, QSqlTableModel
from steps import ERRORS, LOAD, STORED, check, failing, shown_by_most, usual_steps
from steps import datetime, decimal

application = QCoreApplication([])
database = QSqlDatabase.addDatabase("QODBC")
database.setDatabaseName("clients")
if not database.open():
    raise SystemExit(database.lastError().text())
GIVEN = {type(None): lambda _: QVariant(QVariant.String), decimal.Decimal: float, bytes: QByteArray, datetime.date: QDate,
         datetime.time: QTime, datetime.datetime: QDateTime}
READ = {QByteArray: bytes, QDate: QDate.toPyDate, QTime: QTime.toPyTime, QDateTime: QDateTime.toPyDateTime}


def given(value):
    return GIVEN.get(type(value), shown_by_most)(value)


def shown(value):
    return {decimal.Decimal: float, bool: int}.get(type(value), shown_by_most)(value)


def execute(text, parameters, call=QSqlQuery.exec_):
    query = QSqlQuery()
    query.setForwardOnly(os.environ["CLIENTS_STEPS"] == "plain")  # without Standard=Yes rows do not scroll
    done = query.prepare(text)
    for value in parameters:
        query.addBindValue([given(one) for one in value] if isinstance(value, tuple) else given(value))
    if not done or not call(query):
        raise ValueError(query.lastError().nativeErrorCode())  # Qt tells the native code alone
    return query


def query(text, *parameters):
    got, rows = execute(text, parameters), []
    while got.next():
        values = [None if got.isNull(i) else got.value(i) for i in range(got.record().count())]
        rows.append([READ.get(type(value), lambda same: same)(value) for value in values])
    return rows


def scroll():
    for key in range(20):
        query(LOAD, key, "row")
    got = execute("SELECT id FROM vhcass_clients.loaded", [])
    ids = [row[0] for row in query("SELECT id FROM vhcass_clients.loaded")]
    for move, place in ((got.last, -1), (got.previous, -2), (lambda: got.seek(7), 7), (got.first, 0)):
        check((move(), got.value(0)), (True, ids[place]))
    model = QSqlTableModel()
    model.setTable("vhcass_clients.loaded")
    check((model.select(), model.rowCount(), model.index(7, 0).data()), (True, len(ids), ids[7]))


def errors():
    for (text, _), code in zip(ERRORS, ("8192", "8704", "9216")):
        check(str(failing(lambda: query(text), ValueError)), code)


def lists():
    check("whole" in database.tables(), True)
    columns = database.record("vhcass_clients.whole")
    check((columns.count(), columns.fieldName(0)), (5, "id"))


usual_steps(query, ValueError, shown=shown, insert=lambda rows: execute(LOAD, zip(*rows), QSqlQuery.execBatch),
            stored=STORED[:2], scroll=scroll, errors=errors, lists=lists)  # it stops at the bad row
