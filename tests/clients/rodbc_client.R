# R's RODBC. It has no parameters; sqlSave and sqlUpdate bind, in arrays of text and numbers.
library(RODBC)
folder <- dirname(sub("--file=", "", grep("--file=", commandArgs(FALSE), value = TRUE)))

# Columns are bound by their described size, 65535 bytes at most, and a longer text is cut without a word.
channel <- odbcDriverConnect("DSN=clients;StringLen=65535", DBMSencoding = "UTF-8")

rows_of <- function(name) read.delim(file.path(folder, name), quote = "", colClasses = "character", encoding = "UTF-8")
query <- function(text) sqlQuery(channel, text, stringsAsFactors = FALSE, as.is = TRUE, rows_at_time = 1)
run <- function(text) if (length(problem <- query(text))) stop(problem[1])
check <- function(got, wanted) if (!isTRUE(same <- all.equal(got, wanted, check.attributes = FALSE)))
  stop(substr(paste(c(same, "got", got, "wanted", wanted), collapse = " "), 1, 300))
wanted_steps <- strsplit(Sys.getenv("CLIENTS_STEPS"), " ")[[1]]
step <- function(name, body) if (name %in% wanted_steps) cat(tryCatch({ remark <- body(); paste0("ok ", name, if (is.character(remark)) paste0(": ", remark)) },
  error = function(problem) paste0("FAILED ", name, ": ", gsub("\n", " ", conditionMessage(problem)))), "\n", sep = "")

kinds <- rows_of("values.tsv")
columns <- paste(kinds$column, collapse = ", ")

step("values", function() {
  quoted <- kinds$column %in% c("ts", "da", "ti", "s")
  for (key in 1:2) {
    given <- kinds[[key + 1]]
    literal <- ifelse(quoted, paste0("'", given, ifelse(kinds$column == "ts", "+0000", ""), "'"), given)
    literal[kinds$column == "b"] <- paste0("0x", given[kinds$column == "b"])
    literal[kinds$column == "o"] <- ifelse(given[kinds$column == "o"] == "1", "true", "false")
    run(paste0("INSERT INTO vhcass_clients.kinds (id, ", columns, ") VALUES (", key, ", ", paste(literal, collapse = ", "), ")"))
    got <- query(paste("SELECT", columns, "FROM vhcass_clients.kinds WHERE id =", key))
    got$b <- paste(got$b[[1]], collapse = "")
    numbers <- kinds$column %in% c("i", "l", "d", "n", "o")
    check(as.numeric(got[numbers]), as.numeric(given[numbers]))
    check(as.character(got[!numbers]), given[!numbers])
  }
  run("INSERT INTO vhcass_clients.kinds (id) VALUES (3)")
  got <- query(paste("SELECT", columns, "FROM vhcass_clients.kinds WHERE id = 3"))
  check(all(is.na(got[names(got) != "b"])), TRUE)
  "by literals; numbers are doubles"
})
step("table", function() {
  got <- query("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")
  check(got$i, c(7L, NA))
  check(got$ti, c("12:34:56", "01:02:03"))
  check(got$ts, c("1901-02-03 04:05:06", "2024-05-06 07:08:09"))
  check(nchar(got$s), c(5L, 5000L))
})
step("batch", function() {
  rows <- data.frame(id = c(1L, 2L, NA, 4L), s = c("one", "two", "bad", "żółć 😀"))
  problem <- try(sqlSave(channel, rows, "vhcass_clients.loaded", append = TRUE, rownames = FALSE), silent = TRUE)
  check(inherits(problem, "try-error"), TRUE)
  # It stops at the bad row.
  check(sort(query("SELECT id FROM vhcass_clients.loaded")$id), 1:2)
  sqlSave(channel, rows[4, ], "vhcass_clients.loaded", append = TRUE, rownames = FALSE)
  check(query("SELECT s FROM vhcass_clients.loaded WHERE id = 4")$s, "żółć 😀")
  "it stops at the bad row"
})
step("long", function() {
  text <- paste(rep("ż23456😀890", 4000), collapse = "")
  run(paste0("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (1, '", text, "')"))
  check(query("SELECT s FROM vhcass_clients.long_texts WHERE id = 1")$s, text)
  "with StringLen, up to 65535 bytes"
})
step("nested", function() {
  given <- rows_of("nested.tsv")$literal
  for (key in 1:2) {
    run(paste0("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (", key, ", ", paste(given, collapse = ", "), ")"))
    got <- as.character(query(paste("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id =", key)))
    check(got, given)
    given <- got
  }
})
step("errors", function() {
  check(substr(query("SELEC 1")[1], 1, 5), "42000")
  check(substr(query("SELECT * FROM vhcass_clients.missing")[1], 1, 5), "42S02")
  check(substr(query("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)")[1], 1, 5), "42S01")
})
step("lists", function() {
  check(as.character(sqlTables(channel, schema = "vhcass_clients", tableName = "w%")$TABLE_NAME), "whole")
  check(as.character(sqlColumns(channel, "whole", schema = "vhcass_clients")$COLUMN_NAME), c("id", "i", "s", "ti", "ts"))
  check(as.character(sqlPrimaryKeys(channel, "whole", schema = "vhcass_clients")$COLUMN_NAME), "id")
})
step("plain", function() {
  got <- query("SELECT id, s FROM vhcass_clients.plain")
  check(c(got$id, got$s), c("1", "2", "one", "two"))
  check(is.character(query("SELEC 1")), TRUE)
})
odbcClose(channel)
