// npm's odbc.
const fs = require("fs");
const odbc = require("odbc");

const rowsOf = (name) => fs.readFileSync(`${__dirname}/${name}`, "utf8").split("\n").slice(1, -1).map((line) => line.split("\t"));
// Blobs come as ArrayBuffer, booleans as "1" and "0", integers of eight bytes as text that a bigint becomes.
const conversions = { i: Number, l: BigInt, d: Number, n: Number, b: (text) => Buffer.from(text, "hex") };
const kinds = rowsOf("values.tsv");
const columns = kinds.map((row) => row[0]);
const nested = rowsOf("nested.tsv").map((row) => row[1]);
const longText = (length) => "ż23456😀890".repeat(length / 10);
const plain = (value) => (value instanceof ArrayBuffer ? Buffer.from(value).toString("hex")
  : Buffer.isBuffer(value) ? value.toString("hex") : typeof value === "bigint" ? String(value) : value);

function check(got, wanted) {
  const [a, b] = [got, wanted].map((values) => JSON.stringify(values));
  if (a !== b) throw new Error(`${a.slice(0, 200)} instead of ${b.slice(0, 200)}`);
}

async function step(name, body) {
  if (!process.env.CLIENTS_STEPS.split(" ").includes(name)) return;
  try {
    const remark = await body();
    console.log(`ok ${name}${remark ? `: ${remark}` : ""}`);
  } catch (problem) {
    console.log(`FAILED ${name}: ${problem.message} ${JSON.stringify(problem.odbcErrors || "")}`.replaceAll("\n", " "));
  }
}

async function main() {
  // A text longer than its described size is cut without a word: LongText has texts read in pieces.
  const connection = await odbc.connect("DSN=clients;LongText=yes");
  const query = (text, parameters = []) => connection.query(text, parameters);

  await step("values", async () => {
    for (const key of [1, 2, 3]) {
      const values = kinds.map((row) => (key === 3 ? null : (conversions[row[0]] || String)(row[key])));
      await query(`INSERT INTO vhcass_clients.kinds (id, ${columns}) VALUES (?${", ?".repeat(columns.length)})`, [key, ...values]);
      const [row] = await query(`SELECT ${columns} FROM vhcass_clients.kinds WHERE id = ?`, [key]);
      check(columns.map((column) => plain(row[column])), values.map(plain));
    }
    return "a decimal is a double there";
  });
  await step("table", async () => {
    const rows = await query("SELECT id, i, ti, ts, s FROM vhcass_clients.whole");
    check(rows.map(Object.values), [[1, 7, "12:34:56", "1901-02-03 04:05:06", "short"],
      [2, null, "01:02:03", "2024-05-06 07:08:09", "0123456789".repeat(500)]]);
  });
  await step("batch", async () => {
    let refused = 0;
    for (const row of [[1, "one"], [2, "two"], [null, "bad"], [4, "żółć 😀"]]) {
      await query("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)", row).catch(() => refused++);
    }
    check(refused, 1);
    const stored = await query("SELECT id, s FROM vhcass_clients.loaded");
    check(stored.map(Object.values).sort(), [[1, "one"], [2, "two"], [4, "żółć 😀"]]);
    return "a prepared statement keeps a NULL for the number that follows it";
  });
  await step("long", async () => {
    for (const length of [5000, 5000000]) {
      await query("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", [length, longText(length)]);
      const [row] = await query("SELECT s FROM vhcass_clients.long_texts WHERE id = ?", [length]);
      check(row.s === longText(length), true);
    }
    return "with LongText";
  });
  await step("nested", async () => {
    let given = nested;
    for (const key of [1, 2]) {
      await query("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", [key, ...given]);
      [given] = (await query("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = ?", [key])).map(Object.values);
      check(given, nested);
    }
  });
  await step("errors", async () => {
    for (const [text, state] of [["SELEC 1", "42000"], ["SELECT * FROM vhcass_clients.missing", "42S02"],
      ["CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01"]]) {
      const problem = await query(text).then(() => { throw new Error(`no error from ${text}`); }, (error) => error);
      check(problem.odbcErrors[0].state, state);
    }
    const parallel = await Promise.all([...Array(20)].map(() => query("SELECT id FROM vhcass_clients.whole WHERE id = ?", [2])));
    check(parallel.every((rows) => rows.length === 1 && rows[0].id === 2), true);
  });
  await step("lists", async () => {
    check((await connection.tables(null, "vhcass_clients", "w%", "TABLE")).map((row) => row.TABLE_NAME), ["whole"]);
    check((await connection.columns(null, "vhcass_clients", "whole", null)).map((row) => row.COLUMN_NAME), ["id", "i", "s", "ti", "ts"]);
  });
  await step("plain", async () => {
    check((await query("SELECT id, s FROM vhcass_clients.plain")).map(Object.values), [[1, "one"], [2, "two"]]);
    check(await query("SELEC 1").catch(() => "refused"), "refused");
  });
  await connection.close();
}
main();
