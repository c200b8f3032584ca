# Writes two rows from a data frame and reads the table: Rscript rows.R. Needs RODBC.
library(RODBC)
source <- Sys.getenv("VHCASS_CONNECTION", "DSN=cassandra")
keyspace <- Sys.getenv("VHCASS_KEYSPACE", "examples")
# StringLen: longer texts are cut, in bytes
channel <- odbcDriverConnect(paste0(source, ";StringLen=65535"), DBMSencoding = "UTF-8")
stopifnot(channel != -1)
query <- function(...) {
  result <- sqlQuery(channel, paste0(...), rows_at_time = 1, errors = FALSE)
  if (identical(result, -1L)) stop(paste(odbcGetErrMsg(channel), collapse = "\n"))
  invisible(result)
}
query("CREATE KEYSPACE IF NOT EXISTS ", keyspace, " WITH replication = ",
      "{'class': 'SimpleStrategy', 'replication_factor': 1}")
query("CREATE TABLE IF NOT EXISTS ", keyspace, ".rows (id int PRIMARY KEY, note text)")
rows <- data.frame(id = 1:2, note = c("first", "żółć 😀"))
sqlSave(channel, rows, paste0(keyspace, ".rows"), append = TRUE, rownames = FALSE)
print(query("SELECT id, note FROM ", keyspace, ".rows"))
odbcClose(channel)
