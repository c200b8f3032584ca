// Go's database/sql with alexbrainman/odbc.
package main

import (
	"database/sql"
	"encoding/hex"
	"fmt"
	"os"
	"path/filepath"
	"reflect"
	"slices"
	"strconv"
	"strings"
	"time"

	_ "github.com/alexbrainman/odbc"
)

func must(err error) {
	if err != nil {
		panic(err)
	}
}

func check(got, wanted any) {
	if !reflect.DeepEqual(got, wanted) {
		panic(fmt.Sprintf("%.300s instead of %.300s", fmt.Sprintf("%#v", got), fmt.Sprintf("%#v", wanted)))
	}
}

func step(name string, body func() string) {
	if !slices.Contains(strings.Fields(os.Getenv("CLIENTS_STEPS")), name) {
		return
	}
	defer func() {
		if problem := recover(); problem != nil {
			fmt.Printf("FAILED %s: %s\n", name, strings.ReplaceAll(fmt.Sprint(problem), "\n", " "))
		}
	}()
	if remark := body(); remark != "" {
		name += ": " + remark
	}
	fmt.Println("ok", name)
}

func rowsOf(name string) (rows [][]string) {
	text, err := os.ReadFile(filepath.Join(os.Getenv("scripts"), name))
	must(err)
	for _, line := range strings.Split(strings.TrimSuffix(string(text), "\n"), "\n")[1:] {
		rows = append(rows, strings.Split(line, "\t"))
	}
	return
}

// value is what goes in and comes out for the text of a column of values.tsv.
func value(column, text string) any {
	number := func(bits int) int64 { n, err := strconv.ParseInt(text, 10, bits); must(err); return n }
	moment := func(layout string) any { t, err := time.ParseInLocation(layout, text, time.Local); must(err); return t }
	switch column {
	case "i":
		return int32(number(32))
	case "l":
		return number(64)
	case "d", "n": // decimals are read as doubles
		f, err := strconv.ParseFloat(text, 64)
		must(err)
		return f
	case "ts":
		return moment(time.DateTime)
	case "da":
		return moment(time.DateOnly)
	case "b":
		bytes, err := hex.DecodeString(text)
		must(err)
		if len(bytes) == 0 {
			return []byte(nil) // as an empty blob is read
		}
		return bytes
	case "o":
		return text == "1"
	}
	return text
}

// read gives a row of any types: text comes as bytes, a time as one on the first day.
func read(row *sql.Row, columns []string) []any {
	got, into := make([]any, len(columns)), make([]any, len(columns))
	for i := range got {
		into[i] = &got[i]
	}
	must(row.Scan(into...))
	for i := range got {
		if bytes, ok := got[i].([]byte); ok && columns[i] != "b" {
			got[i] = string(bytes)
		}
		if moment, ok := got[i].(time.Time); ok && columns[i] == "ti" {
			got[i] = moment.Format(time.TimeOnly)
		}
	}
	return got
}

func main() {
	db, err := sql.Open("odbc", "DSN=clients")
	must(err)
	kinds, nested := rowsOf("values.tsv"), rowsOf("nested.tsv")
	columns := make([]string, len(kinds))
	for i, row := range kinds {
		columns[i] = row[0]
	}
	names, marks := strings.Join(columns, ", "), "?"+strings.Repeat(", ?", len(columns))

	step("values", func() string {
		for key := 1; key <= 3; key++ {
			values := make([]any, len(kinds))
			for i, row := range kinds {
				if key < 3 {
					values[i] = value(row[0], row[key])
				}
			}
			_, err := db.Exec("INSERT INTO vhcass_clients.kinds (id, "+names+") VALUES ("+marks+")", append([]any{key}, values...)...)
			must(err)
			check(read(db.QueryRow("SELECT "+names+" FROM vhcass_clients.kinds WHERE id = ?", key), columns), values)
		}
		return "a decimal is a double there"
	})
	step("table", func() string {
		rows, err := db.Query("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")
		must(err)
		defer rows.Close()
		var all []string
		for rows.Next() {
			var id int
			var i sql.NullInt64
			var ti, ts time.Time
			var s string
			must(rows.Scan(&id, &i, &ti, &ts, &s))
			all = append(all, fmt.Sprint(id, i, ti.Format(time.TimeOnly), " ", ts.Format(time.DateTime), " ", len(s)))
		}
		must(rows.Err())
		check(all, []string{"1 {7 true}12:34:56 1901-02-03 04:05:06 5", "2 {0 false}01:02:03 2024-05-06 07:08:09 5000"})
		return ""
	})
	step("batch", func() string {
		insert, err := db.Prepare("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)")
		must(err)
		defer insert.Close()
		refused := 0
		for _, row := range [][]any{{1, "one"}, {2, "two"}, {nil, "bad"}, {4, "żółć 😀"}} {
			if _, err := insert.Exec(row...); err != nil {
				refused++
			}
		}
		check(refused, 1)
		for key, text := range map[int]string{1: "one", 2: "two", 4: "żółć 😀"} {
			var got string
			must(db.QueryRow("SELECT s FROM vhcass_clients.loaded WHERE id = ?", key).Scan(&got))
			check(got, text)
		}
		return ""
	})
	step("long", func() string {
		for _, length := range []int{5000, 5000000} {
			text := strings.Repeat("ż23456😀890", length/10)
			_, err := db.Exec("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", length, text)
			must(err)
			var got string
			must(db.QueryRow("SELECT s FROM vhcass_clients.long_texts WHERE id = ?", length).Scan(&got))
			check(got == text, true)
		}
		return ""
	})
	step("nested", func() string {
		given := []any{nested[0][1], nested[1][1], nested[2][1], nested[3][1]}
		wanted := given
		for key := 1; key <= 2; key++ {
			_, err := db.Exec("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", append([]any{key}, given...)...)
			must(err)
			given = read(db.QueryRow("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = ?", key), []string{"l", "m", "t", "a"})
			check(given, wanted)
		}
		return ""
	})
	step("errors", func() string {
		for _, try := range [][]string{{"SELEC 1", "{42000}"}, {"SELECT * FROM vhcass_clients.missing", "{42S02}"},
			{"CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "{42S01}"}} {
			_, err := db.Exec(try[0])
			if err == nil || !strings.Contains(err.Error(), try[1]) {
				panic(fmt.Sprint(try[0], " gives ", err))
			}
		}
		must(db.Ping())
		return ""
	})
	step("plain", func() string {
		for key, text := range map[int]string{1: "one", 2: "two"} {
			var got string
			must(db.QueryRow(fmt.Sprint("SELECT s FROM vhcass_clients.plain WHERE id = ", key)).Scan(&got))
			check(got, text)
		}
		if _, err := db.Exec("SELEC 1"); err == nil {
			panic("no error")
		}
		return ""
	})
}
