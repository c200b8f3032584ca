# Tcl's tdbc::odbc.
package require tdbc::odbc
fconfigure stdout -encoding utf-8
encoding system utf-8
set scripts $env(scripts)

tdbc::odbc::connection create db "DSN=clients"

proc rows_of {name} {
    set file [open $::scripts/$name r]
    fconfigure $file -encoding utf-8
    set lines [lrange [split [string trimright [read $file] "\n"] "\n"] 1 end]
    close $file
    return [lmap line $lines {split $line "\t"}]
}

proc check {got wanted} {
    if {$got ne $wanted} {
        error "[string range $got 0 200] instead of [string range $wanted 0 200]"
    }
}

proc step {name body} {
    if {$name ni $::env(CLIENTS_STEPS)} return
    if {[catch {uplevel #0 $body} remark]} {
        puts "FAILED $name: [string map {\n { }} $remark]"
    } else {
        puts "ok $name[expr {$remark eq {} ? {} : ": $remark"}]"
    }
    flush stdout
}

# Runs a statement with the values of a dictionary by name; a name without one is NULL.
proc run {text {values {}}} {
    set statement [db prepare $text]
    try {
        return [$statement allrows -as lists $values]
    } finally {
        $statement close
    }
}

proc failing {text} {
    if {![catch {run $text} message options]} {
        error "no error of $text"
    }
    return [lindex [dict get $options -errorcode] 2]
}

set kinds [rows_of values.tsv]
set columns [lmap row $kinds {lindex $row 0}]

step values {
    set sql "INSERT INTO vhcass_clients.kinds (id, [join $columns {, }]) VALUES (:id, [join [lmap c $columns {set c :$c}] {, }])"
    foreach index {1 2} {
        set given {}
        foreach row $kinds {
            lassign $row column
            set value [lindex $row $index]
            # A blob is given as bytes; an empty text is a value.
            dict set given $column [expr {$column eq "b" ? [binary decode hex $value] : $value}]
        }
        run $sql [dict merge $given [dict create id $index]]
        set got [lindex [run "SELECT [join $columns {, }] FROM vhcass_clients.kinds WHERE id = $index"] 0]
        foreach column $columns value $got {
            set wanted [dict get $given $column]
            set same [expr {$column eq "n" ? double($value) == double($wanted)
                : $column in {i l d o} ? $value == $wanted : [string equal -nocase $value $wanted]}]
            if {!$same} {
                error "$column: $value instead of $wanted"
            }
        }
    }
    run $sql {id 3}
    db foreach -as dicts row "SELECT [join $columns {, }] FROM vhcass_clients.kinds WHERE id = 3" {
        check $row {}
    }
    set result "decimals are doubles"
}
step table {
    set rows [run "SELECT id, i, ti, ts, s FROM vhcass_clients.whole"]
    check [lsort [lmap row $rows {string length [lindex $row end]}]] {5 5000}
    set result {}
}
step batch {
    set statement [db prepare "INSERT INTO vhcass_clients.loaded (id, s) VALUES (:id, :s)"]
    $statement paramtype id integer
    set refused 0
    foreach {id s} {1 one 2 two {} bad 4 żółć😀} {
        incr refused [catch {$statement execute [expr {$id eq {} ? [dict create s $s] : [dict create id $id s $s]}]}]
    }
    $statement close
    check $refused 1
    check [lsort [run "SELECT id, s FROM vhcass_clients.loaded"]] {{1 one} {2 two} {4 żółć😀}}
    set result "one by one"
}
step nested {
    set given [lmap row [rows_of nested.tsv] {lindex $row 1}]
    run "INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (1, :l, :m, :t, :a)" \
        [dict create l [lindex $given 0] m [lindex $given 1] t [lindex $given 2] a [lindex $given 3]]
    check [lindex [run "SELECT l, m, t, a FROM vhcass_clients.nested"] 0] $given
    set result {}
}
step errors {
    check [failing "SELEC 1"] 42000
    check [failing "SELECT * FROM vhcass_clients.missing"] 42S02
    set result {}
}
step lists {
    check [lsort [dict keys [db tables kinds]]] kinds
    check [lsort [dict keys [db columns kinds]]] [lsort [concat id $columns]]
    set result {}
}
step plain {
    check [lsort [run "SELECT id, s FROM vhcass_clients.plain"]] {{1 one} {2 two}}
    failing "SELEC 1"
    set result {}
}
