<?php
// Writes two rows by parameters and reads the table: php rows.php. Needs PDO's driver for ODBC.
$source = getenv("VHCASS_CONNECTION") ?: "DSN=cassandra";
$keyspace = getenv("VHCASS_KEYSPACE") ?: "examples";
$pdo = new PDO("odbc:$source", null, null, [
    PDO::ATTR_ERRMODE => PDO::ERRMODE_EXCEPTION,
    PDO::ODBC_ATTR_USE_CURSOR_LIBRARY => PDO::ODBC_SQL_USE_DRIVER, // unixODBC's own crashes
]);
$pdo->exec("CREATE KEYSPACE IF NOT EXISTS $keyspace WITH replication = "
    . "{'class': 'SimpleStrategy', 'replication_factor': 1}");
$pdo->exec("CREATE TABLE IF NOT EXISTS $keyspace.rows (id int PRIMARY KEY, note text)");
$insert = $pdo->prepare("INSERT INTO $keyspace.rows (id, note) VALUES (?, ?)");
$insert->execute([1, "first"]);
$insert->execute([2, "żółć 😀"]);
foreach ($pdo->query("SELECT id, note FROM $keyspace.rows", PDO::FETCH_ASSOC) as $row) {
    echo $row["id"], " ", $row["note"] ?? "NULL", "\n";
}
