<?php
// PHP's odbc_ functions.
require __DIR__ . "/steps.php";

// A bound text longer than its described size is read beyond the buffer, and crashes: LongText has texts read
// in pieces, up to this length.
ini_set("odbc.defaultlrl", 8000000);
$connection = odbc_connect("DSN=clients;LongText=yes", "", "");

function run($text, $parameters = []) {
    global $connection;
    $statement = @odbc_prepare($connection, $text);
    if (!$statement || !@odbc_execute($statement, $parameters)) {
        throw new Exception(odbc_error($connection) . " " . odbc_errormsg($connection));
    }
    return $statement;
}

function rows($statement) {
    for ($all = []; odbc_fetch_row($statement); $all[] = $row) {
        for ($row = [], $i = 1; $i <= odbc_num_fields($statement); $i++) {
            $row[] = odbc_result($statement, $i);
        }
    }
    return $all;
}

function refused($text, $state = "") {
    try {
        run($text);
    } catch (Exception $problem) {
        check(substr($problem->getMessage(), 0, strlen($state)), $state);
        return;
    }
    throw new Exception("no error from $text");
}

step("values", function () use ($columns, $marks, $values) {
    foreach ($values as $key => $row) {
        run("INSERT INTO vhcass_clients.kinds (id, $columns) VALUES ($marks)", [$key, ...$row]);
        check(rows(run("SELECT $columns FROM vhcass_clients.kinds WHERE id = ?", [$key])), [$row]);
    }
});
step("table", function () use ($whole) {
    check(rows(run("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")), $whole);
});
step("batch", function () use ($batch, $stored) {
    $refused = 0;
    foreach ($batch as $row) {
        try {
            run("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)", $row);
        } catch (Exception $problem) {
            $refused++;
        }
    }
    check($refused, 1);
    $got = rows(run("SELECT id, s FROM vhcass_clients.loaded"));
    sort($got);
    check($got, $stored);
});
step("long", function () {
    foreach ([5000, 5000000] as $length) {
        run("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", [$length, long_text($length)]);
        $got = rows(run("SELECT s FROM vhcass_clients.long_texts WHERE id = ?", [$length]))[0][0];
        check($got == long_text($length), true);
    }
    return "with LongText and odbc.defaultlrl";
});
step("nested", function () use ($nested) {
    for ($given = $nested, $key = 1; $key <= 2; $key++, $given = $got[0]) {
        run("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", [$key, ...$given]);
        $got = rows(run("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = ?", [$key]));
        check($got, [$nested]);
    }
});
step("errors", function () {
    refused("SELEC 1", "37000");
    refused("SELECT * FROM vhcass_clients.missing", "S0002");
    refused("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "S0001");
});
step("lists", function () use ($connection) {
    $names = fn($result, $name) => array_column(iterator_to_array((function () use ($result) {
        while ($row = odbc_fetch_array($result)) {
            yield $row;
        }
    })()), $name);
    check($names(odbc_tables($connection, null, "vhcass_clients", "w%", "TABLE"), "TABLE_NAME"), ["whole"]);
    check($names(odbc_columns($connection, null, "vhcass_clients", "whole", "%"), "COLUMN_NAME"), ["id", "i", "s", "ti", "ts"]);
});
step("plain", function () use ($plain) {
    check(rows(run("SELECT id, s FROM vhcass_clients.plain")), $plain);
    refused("SELEC 1");
});
