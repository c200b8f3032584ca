// Qt's QODBC, whose queries and models scroll unless they are told otherwise.
#include <QtSql>
#include <functional>

static QTextStream out(stdout);

static void check(const QVariant &got, const QVariant &wanted)
{
    if (got != wanted || got.isNull() != wanted.isNull()) {
        throw got.toString().left(200) + " instead of " + wanted.toString().left(200);
    }
}

static void step(const char *name, const std::function<QString()> &body)
{
    if (!qEnvironmentVariable("CLIENTS_STEPS").split(' ').contains(name)) {
        return;
    }
    try {
        QString remark = body();
        out << "ok " << name << (remark.isEmpty() ? "" : ": ") << remark << "\n";
    } catch (const QString &problem) {
        out << "FAILED " << name << ": " << QString(problem).replace('\n', ' ') << "\n";
    }
    out.flush();
}

// A query that was executed; throws the error of one that is refused.
static QSqlQuery run(const QString &text, const QVariantList &parameters = {})
{
    QSqlQuery query;
    bool done = query.prepare(text);
    for (const QVariant &value : parameters) {
        query.addBindValue(value);
    }
    if (!done || !query.exec()) {
        throw query.lastError().nativeErrorCode() + " " + query.lastError().text();
    }
    return query;
}

static QVariantList row(QSqlQuery query)
{
    QVariantList values;
    if (!query.next()) {
        throw QString("no row");
    }
    for (int i = 0; i < query.record().count(); i++) {
        values << query.value(i);
    }
    return values;
}

static QList<QStringList> rowsOf(const QString &name)
{
    QFile file(qEnvironmentVariable("scripts") + "/" + name);
    file.open(QIODevice::ReadOnly);
    QList<QStringList> rows;
    for (const QString &line : QString::fromUtf8(file.readAll()).split('\n').mid(1)) {
        rows << line.split('\t');
    }
    rows.removeLast();
    return rows;
}

static QVariant value(const QString &column, const QString &text)
{
    static const QMap<QString, QVariant::Type> types{
        {"i", QVariant::Int},      {"l", QVariant::LongLong}, {"d", QVariant::Double},
        {"n", QVariant::Double},   {"da", QVariant::Date},    {"ti", QVariant::Time},
        {"ts", QVariant::DateTime}};
    if (column == "b") {
        return QByteArray::fromHex(text.toLatin1());
    }
    if (column == "o") {
        return text == "1";
    }
    QVariant converted(column == "ts" ? QString(text).replace(' ', 'T') : text);
    converted.convert(types.value(column, QVariant::String));
    return converted;
}

static QString longText(int length)
{
    return QString::fromUtf8("ż23456😀89").repeated(length / 10);
}

int main(int count, char **arguments)
{
    QCoreApplication application(count, arguments);
    out.setCodec("UTF-8");
    QSqlDatabase database = QSqlDatabase::addDatabase("QODBC");
    database.setDatabaseName("clients");
    if (!database.open()) {
        out << database.lastError().text() << "\n";
        return 1;
    }
    QList<QStringList> kinds = rowsOf("values.tsv");
    QStringList columns;
    for (const QStringList &kind : kinds) {
        columns << kind[0];
    }
    QString names = columns.join(", "), marks = QString(", ?").repeated(columns.size() + 1).mid(2);

    step("values", [&]() -> QString {
        for (int key = 1; key <= 3; key++) {
            QVariantList values;
            for (const QStringList &kind : kinds) {
                QVariant given = value(kind[0], kind[qMin(key, 2)]);
                values << (key < 3 ? given : QVariant(given.type()));
            }
            run("INSERT INTO vhcass_clients.kinds (id, " + names + ") VALUES (" + marks + ")",
                QVariantList{key} + values);
            QVariantList got =
                row(run("SELECT " + names + " FROM vhcass_clients.kinds WHERE id = ?", {key}));
            for (int i = 0; i < columns.size(); i++) {
                check(got[i], values[i]);
            }
        }
        return "a decimal is a double there";
    });
    step("table", [&]() -> QString {
        QSqlQuery query = run("SELECT id, i, ti, ts, s FROM vhcass_clients.whole");
        QVariantList first = row(query), second = row(query);
        check(first[1], 7);
        check(first[2], QTime(12, 34, 56));
        check(first[3], QDateTime(QDate(1901, 2, 3), QTime(4, 5, 6)));
        check(second[1].isNull(), true);
        check(second[4], QString("0123456789").repeated(500));
        return "";
    });
    step("batch", [&]() -> QString {
        QString insert = "INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)",
                text = QString::fromUtf8("żółć 😀");
        int refused = 0;
        for (const QVariantList &values :
             QList<QVariantList>{{1, "one"}, {QVariant(QVariant::Int), "bad"}, {3, text}}) {
            try {
                run(insert, values);
            } catch (const QString &) {
                refused++;
            }
        }
        check(refused, 1);
        check(row(run("SELECT s FROM vhcass_clients.loaded WHERE id = 3"))[0], text);
        QSqlQuery query;
        query.prepare(insert);
        query.addBindValue(QVariantList{11, QVariant(QVariant::Int), 13});
        query.addBindValue(QVariantList{"one", "bad", text});
        check(query.execBatch(), false);
        check(row(run("SELECT s FROM vhcass_clients.loaded WHERE id = 11"))[0], "one");
        return "execBatch stops at the bad row";
    });
    step("long", [&]() -> QString {
        for (int length : {5000, 5000000}) {
            run("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)",
                {length, longText(length)});
            check(row(run("SELECT s FROM vhcass_clients.long_texts WHERE id = ?", {length}))[0],
                  longText(length));
        }
        return "";
    });
    step("nested", [&]() -> QString {
        QVariantList literals;
        for (const QStringList &line : rowsOf("nested.tsv")) {
            literals << line[1];
        }
        QVariantList given = literals;
        for (int key : {1, 2}) {
            run("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)",
                QVariantList{key} + given);
            given = row(run("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = ?", {key}));
            for (int i = 0; i < 4; i++) {
                check(given[i], literals[i]);
            }
        }
        return "";
    });
    step("scroll", [&]() -> QString {
        for (int key = 1; key <= 20; key++) {
            run("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, 'row')", {key});
        }
        QSqlQuery query = run("SELECT id FROM vhcass_clients.loaded");
        QVariantList ids;
        while (query.next()) {
            ids << query.value(0);
        }
        check(ids.size() >= 20, true);
        check(query.last() && query.value(0) == ids.last(), true);
        check(query.previous() && query.value(0) == ids[ids.size() - 2], true);
        check(query.seek(7) && query.value(0) == ids[7], true);
        check(query.first() && query.value(0) == ids[0], true);
        QSqlTableModel model;
        model.setTable("vhcass_clients.loaded");
        check(model.select(), true);
        check(model.rowCount(), ids.size());
        check(model.index(7, 0).data(), ids[7]);
        return "";
    });
    // Qt tells the native code alone.
    step("errors", [&]() -> QString {
        const QList<QPair<QString, QString>> cases{
            {"SELEC 1", "8192"},
            {"SELECT * FROM vhcass_clients.missing", "8704"},
            {"CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "9216"}};
        for (const auto &[text, code] : cases) {
            QString problem;
            try {
                run(text);
            } catch (const QString &thrown) {
                problem = thrown;
            }
            check(problem.section(' ', 0, 0), code);
        }
        return "";
    });
    step("lists", [&]() -> QString {
        check(QSqlDatabase::database().tables().contains("whole"), true);
        QSqlRecord columns = QSqlDatabase::database().record("vhcass_clients.whole");
        check(columns.count() == 5 && columns.fieldName(0) == "id", true);
        return "";
    });
    // Without Standard=Yes rows come forward only.
    step("plain", [&]() -> QString {
        QSqlQuery query;
        query.setForwardOnly(true);
        check(query.exec("SELECT id, s FROM vhcass_clients.plain"), true);
        check(row(query)[1], "one");
        check(row(query)[1], "two");
        check(query.exec("SELEC 1"), false);
        return "";
    });
}
