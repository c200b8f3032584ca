<?php
// What the PHP clients share: the values of the tables, and the line that a step ends in.
function rows_of($name) {
    $lines = file(__DIR__ . "/$name", FILE_IGNORE_NEW_LINES);
    return array_map(fn($line) => explode("\t", $line), array_slice($lines, 1));
}

$rows = rows_of("values.tsv");
$columns = implode(", ", array_column($rows, 0));
$marks = implode(", ", array_fill(0, count($rows) + 1, "?"));
// Values go in and come out as text, a blob as its bytes.
foreach ([1, 2] as $i) {
    $values[] = array_map(fn($row) => $row[0] == "b" ? hex2bin($row[$i]) : $row[$i], $rows);
}
$values[] = array_fill(0, count($rows), null);
$nested = array_column(rows_of("nested.tsv"), 1);
$whole = [["1", "7", "12:34:56", "1901-02-03 04:05:06", "short"],
          ["2", null, "01:02:03", "2024-05-06 07:08:09", str_repeat("0123456789", 500)]];
// The third has no key: the server refuses it.
$batch = [["1", "one"], ["2", "two"], [null, "bad"], ["4", "żółć 😀"]];
$plain = [["1", "one"], ["2", "two"]];
$stored = [$batch[0], $batch[1], $batch[3]];

function long_text($length) {
    return str_repeat("ż23456😀890", intdiv($length, 10));
}

function check($got, $wanted) {
    if ($got !== $wanted) {
        throw new Exception(substr(var_export($got, true), 0, 200) . " instead of " . substr(var_export($wanted, true), 0, 200));
    }
}

function step($name, $function) {
    if (!in_array($name, explode(" ", getenv("CLIENTS_STEPS")))) {
        return;
    }
    try {
        $remark = $function();
        echo "ok $name", $remark ? ": $remark" : "", "\n";
    } catch (Throwable $problem) {
        echo "FAILED $name: ", str_replace("\n", " ", $problem->getMessage()), "\n";
    }
}
