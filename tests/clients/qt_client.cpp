// Qt's QODBC, whose queries and models scroll unless they are told otherwise.
#include <QtSql>

#include "steps.h"

static std::ostream &operator<<(std::ostream &out, const QVariant &value)
{
    return out << (value.isNull() ? "NULL" : value.toString().toStdString());
}

static void check_value(const QVariant &got, const QVariant &wanted)
{
    check(got, wanted);
    check(got.isNull(), wanted.isNull());
}

// A query that was executed; throws the native code of one that is refused.
static QSqlQuery run(const QString &text, const QVariantList &parameters = {})
{
    QSqlQuery query;
    bool done = query.prepare(text);
    for (const QVariant &value : parameters)
        query.addBindValue(value);
    if (!done || !query.exec())
        throw std::runtime_error(query.lastError().nativeErrorCode().toStdString());
    return query;
}

static string code_of(const QString &text, const QVariantList &parameters = {})
{
    try {
        run(text, parameters);
    } catch (const std::exception &problem) {
        return problem.what();
    }
    return "none";
}

static QVariantList row(QSqlQuery query)
{
    QVariantList values;
    check(query.next(), true);
    for (int i = 0; i < query.record().count(); i++)
        values << query.value(i);
    return values;
}

// Values into a row's columns, and read back equal.
static void round_trip(const QString &table, const QString &names, const QVariantList &values)
{
    const QString marks = QString(", ?").repeated(values.size()).mid(2);
    run("INSERT INTO vhcass_clients." + table + " (" + names + ") VALUES (" + marks + ")", values);
    const QVariantList got = row(
        run("SELECT " + names + " FROM vhcass_clients." + table + " WHERE id = ?", {values[0]}));
    for (int i = 0; i < values.size(); i++)
        check_value(got[i], values[i]);
}

static QVariant value_of(const QString &column, const QString &text)
{
    static const QMap<QString, QVariant::Type> types{
        {"i", QVariant::Int},      {"l", QVariant::LongLong}, {"d", QVariant::Double},
        {"n", QVariant::Double},   {"da", QVariant::Date},    {"ti", QVariant::Time},
        {"ts", QVariant::DateTime}};
    if (column == "b")
        return QByteArray::fromHex(text.toLatin1());
    if (column == "o")
        return text == "1";
    QVariant converted(column == "ts" ? QString(text).replace(' ', 'T') : text);
    converted.convert(types.value(column, QVariant::String));
    return converted;
}

static void values_step()
{
    QString names = "id";
    QList<QVariantList> given{{1}, {2}, {3}};
    for (const auto &column : columns_of("values.tsv")) {
        const QString name = QString::fromStdString(column[0]);
        names += ", " + name;
        for (int key : {1, 2})
            given[key - 1] << value_of(name, QString::fromStdString(column[key]));
        given[2] << QVariant(given[0].last().type());  // a NULL
    }
    for (const QVariantList &values : given)
        round_trip("kinds", names, values);
}

static void batch_step()
{
    const QString insert = "INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)";
    const QVariant text = QString::fromUtf8("żółć 😀"), no_key(QVariant::Int);
    check(code_of(insert, {no_key, "bad"}) != "none", true);
    round_trip("loaded", "id, s", {3, text});
    QSqlQuery query;  // by an array, it stops at the bad row
    query.prepare(insert);
    query.addBindValue(QVariantList{11, no_key, 13});
    query.addBindValue(QVariantList{"one", "bad", text});
    check(query.execBatch(), false);
    check_value(row(run("SELECT s FROM vhcass_clients.loaded WHERE id = 11"))[0], "one");
}

static void scroll_step()
{
    for (int key = 1; key <= 20; key++)
        run("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, 'row')", {key});
    QSqlQuery query = run("SELECT id FROM vhcass_clients.loaded");
    QVariantList ids;
    while (query.next())
        ids << query.value(0);
    check(ids.size() >= 20, true);
    check(query.last() && query.value(0) == ids.last(), true);
    check(query.previous() && query.value(0) == ids[ids.size() - 2], true);
    check(query.seek(7) && query.value(0) == ids[7], true);
    check(query.first() && query.value(0) == ids[0], true);
    QSqlTableModel model;
    model.setTable("vhcass_clients.loaded");
    check(model.select(), true);
    check(model.rowCount(), ids.size());
    check_value(model.index(7, 0).data(), ids[7]);
}

int main(int count, char **arguments)
{
    QCoreApplication application(count, arguments);
    QSqlDatabase database = QSqlDatabase::addDatabase("QODBC");
    database.setDatabaseName("clients");
    if (!database.open()) {
        std::cout << database.lastError().text().toStdString() << std::endl;
        return 1;
    }
    step("values", values_step);
    step("table", [] {
        QSqlQuery query = run("SELECT id, i, ti, ts, s FROM vhcass_clients.whole");
        const QVariantList first = row(query), second = row(query);
        check_value(first[1], 7);
        check_value(first[2], QTime(12, 34, 56));
        check_value(first[3], QDateTime(QDate(1901, 2, 3), QTime(4, 5, 6)));
        check(second[1].isNull(), true);
        check_value(second[4], QString("0123456789").repeated(500));
    });
    step("batch", batch_step);
    step("long", [] {
        for (int length : {5000, 5000000})
            round_trip("long_texts", "id, s", {length, QString::fromStdString(long_text(length))});
    });
    step("nested", [] {
        QVariantList given{1};
        for (const auto &literal : columns_of("nested.tsv")) {
            given << QString::fromStdString(literal[1]);
        }
        round_trip("nested", "id, l, m, t, a", given);
    });
    step("scroll", scroll_step);
    // Qt tells the native code alone.
    step("errors", [] {
        for (const refused_statement &refused : refused_statements)
            check(code_of(refused.text), string(refused.native));
    });
    step("lists", [&] {
        check(database.tables().contains("whole"), true);
        const QSqlRecord columns = database.record("vhcass_clients.whole");
        check(columns.count() == 5 && columns.fieldName(0) == "id", true);
    });
    // Without Standard=Yes rows come forward only.
    step("plain", [] {
        QSqlQuery query;
        query.setForwardOnly(true);
        check(query.exec("SELECT id, s FROM vhcass_clients.plain"), true);
        check_value(row(query)[1], "one");
        check_value(row(query)[1], "two");
        check(query.exec("SELEC 1"), false);
    });
}
