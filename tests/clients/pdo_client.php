<?php
// PHP's PDO, as it comes.
require __DIR__ . "/steps.php";

// Without Standard=Yes texts come in bound columns only, and PDO binds those described as shorter than 256.
$pdo = new PDO(getenv("CLIENTS_STEPS") == "plain" ? "odbc:DSN=clients;StringLen=200" : "odbc:clients");

function refused($text, $state = null) {
    global $pdo;
    try {
        $pdo->exec($text);
    } catch (PDOException $problem) {
        $state === null || check($problem->errorInfo[0], $state);
        return;
    }
    throw new Exception("no error from $text");
}

step("values", function () use ($pdo, $columns, $marks, $values, $rows) {
    $blob = array_search("b", array_column($rows, 0));
    $insert = $pdo->prepare("INSERT INTO vhcass_clients.kinds (id, $columns) VALUES ($marks)");
    $select = $pdo->prepare("SELECT $columns FROM vhcass_clients.kinds WHERE id = ?");
    foreach ($values as $key => $row) {
        $insert->execute([$key, ...$row]);
        $select->execute([$key]);
        $got = $select->fetch(PDO::FETCH_NUM);
        $select->closeCursor();
        $got[$blob] = is_null($got[$blob]) ? null : hex2bin($got[$blob]);
        check($got, $row);
    }
    return "PDO reads a blob as hexadecimal text";
});
step("table", function () use ($pdo, $whole) {
    check($pdo->query("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")->fetchAll(PDO::FETCH_NUM), $whole);
});
step("batch", function () use ($pdo, $batch, $stored) {
    $insert = $pdo->prepare("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)");
    $refused = 0;
    foreach ($batch as $row) {
        try {
            $insert->execute($row);
        } catch (PDOException $problem) {
            $refused++;
        }
    }
    check($refused, 1);
    $got = $pdo->query("SELECT id, s FROM vhcass_clients.loaded")->fetchAll(PDO::FETCH_NUM);
    sort($got);
    check($got, $stored);
});
step("long", function () use ($pdo) {
    foreach ([5000, 5000000] as $length) {
        $insert = $pdo->prepare("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)");
        $insert->execute([$length, long_text($length)]);
        $select = $pdo->prepare("SELECT s FROM vhcass_clients.long_texts WHERE id = ?");
        $select->execute([$length]);
        check($select->fetchColumn() == long_text($length), true);
    }
});
step("nested", function () use ($pdo, $nested) {
    $insert = $pdo->prepare("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)");
    for ($given = $nested, $key = 1; $key <= 2; $key++) {
        $insert->execute([$key, ...$given]);
        $given = $pdo->query("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = $key")->fetch(PDO::FETCH_NUM);
        check($given, $nested);
    }
});
step("scroll", function () use ($pdo) {
    $text = "SELECT id FROM vhcass_clients.loaded";
    $ids = $pdo->query($text)->fetchAll(PDO::FETCH_COLUMN);
    $rows = $pdo->prepare($text, [PDO::ATTR_CURSOR => PDO::CURSOR_SCROLL]);
    $rows->execute();
    $at = fn($orientation, $offset = 0) => $rows->fetch(PDO::FETCH_NUM, $orientation, $offset)[0];
    check($at(PDO::FETCH_ORI_LAST), $ids[count($ids) - 1]);
    check($at(PDO::FETCH_ORI_PRIOR), $ids[count($ids) - 2]);
    check($at(PDO::FETCH_ORI_ABS, 2), $ids[1]);
    check($at(PDO::FETCH_ORI_FIRST), $ids[0]);
});
step("errors", function () {
    refused("SELEC 1", "42000");
    refused("SELECT * FROM vhcass_clients.missing", "42S02");
    refused("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01");
});
step("plain", function () use ($pdo, $plain) {
    check($pdo->query("SELECT id, s FROM vhcass_clients.plain")->fetchAll(PDO::FETCH_NUM), $plain);
    refused("SELEC 1");
});
