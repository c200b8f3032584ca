%% Erlang's odbc application, which asks for a cursor that scrolls.
-module(erlang_client).
-export([main/0]).

check(Got, Got) -> ok;
check(Got, Wanted) -> throw(io_lib:format("~tp instead of ~tp", [Got, Wanted])).

step(Name, Body) ->
    lists:member(atom_to_list(Name), string:lexemes(os:getenv("CLIENTS_STEPS"), " ")) andalso run(Name, Body).

run(Name, Body) ->
    try Body() of
        _ -> io:format("ok ~s~n", [Name])
    catch
        _:Problem:Stack ->
            Text = io_lib:format("FAILED ~s: ~tp ~tp", [Name, Problem, Stack]),
            io:format("~ts~n", [string:replace(lists:flatten(Text), "\n", " ", all)])
    end.

wide(Text) -> unicode:characters_to_binary(Text, unicode, {utf16, little}).

main() ->
    ok = odbc:start(),
    {ok, Db} = odbc:connect("DSN=clients", [{scrollable_cursors, on}, {binary_strings, on}, {tuple_row, on}]),
    step(values, fun() -> values(Db) end),
    step(table, fun() -> table(Db) end),
    step(batch, fun() -> batch(Db) end),
    step(nested, fun() -> nested(Db) end),
    step(errors, fun() -> errors(Db) end),
    step(scroll, fun() -> scroll(Db) end),
    step(plain, fun plain/0),
    ok = odbc:disconnect(Db),
    halt(0).

%% Integers, doubles, booleans and wide text by parameters; other types are text to it.
values(Db) ->
    Text = [16#417, 16#17C, 16#F3, 32, 16#1F600],
    {updated, _} = odbc:param_query(Db, "INSERT INTO vhcass_clients.kinds (id, i, d, o, s) VALUES (?, ?, ?, ?, ?)",
        [{sql_integer, [1, 2]}, {sql_integer, [-42, null]}, {sql_double, [-1.25, 0.5]}, {sql_bit, [true, false]},
         {{sql_wvarchar, 100}, [wide(Text), wide("")]}]),
    {selected, _, [First]} = odbc:sql_query(Db, "SELECT i, d, o, s FROM vhcass_clients.kinds WHERE id = 1"),
    check(First, {-42, -1.25, true, wide(Text)}),
    {selected, _, [Second]} = odbc:sql_query(Db, "SELECT i, d, o, s FROM vhcass_clients.kinds WHERE id = 2"),
    check(Second, {null, 0.5, false, wide("")}).

table(Db) ->
    {selected, _, Rows} = odbc:sql_query(Db, "SELECT id, i, ts FROM vhcass_clients.whole"),
    check(lists:sort(Rows), [{1, 7, {{1901, 2, 3}, {4, 5, 6}}}, {2, null, {{2024, 5, 6}, {7, 8, 9}}}]).

batch(Db) ->
    {error, _} = odbc:param_query(Db, "INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)",
        [{sql_integer, [1, null, 4]}, {{sql_wvarchar, 20}, [wide("one"), wide("bad"), wide("four")]}]),
    {selected, _, Rows} = odbc:sql_query(Db, "SELECT id, s FROM vhcass_clients.loaded"),
    check(lists:sort(Rows), [{1, wide("one")}, {4, wide("four")}]).

nested(Db) ->
    {updated, _} = odbc:param_query(Db, "INSERT INTO vhcass_clients.nested (id, l, t) VALUES (?, ?, ?)",
        [{sql_integer, [1]}, {{sql_wvarchar, 100}, [wide("['a', 'b']")]}, {{sql_wvarchar, 100}, [wide("(1, 'x')")]}]),
    {selected, _, [Row]} = odbc:sql_query(Db, "SELECT l, t FROM vhcass_clients.nested WHERE id = 1"),
    check(Row, {wide("['a', 'b']"), wide("(1, 'x')")}).

errors(Db) ->
    {error, Syntax} = odbc:sql_query(Db, "SELEC 1"),
    check(string:find(Syntax, "42000") =/= nomatch, true),
    {error, Missing} = odbc:sql_query(Db, "SELECT * FROM vhcass_clients.missing"),
    check(string:find(Missing, "42S02") =/= nomatch, true).

scroll(Db) ->
    {updated, _} = odbc:param_query(Db, "INSERT INTO vhcass_clients.long_texts (id) VALUES (?)",
        [{sql_integer, [1, 2, 3, 4]}]),
    {selected, _, Rows} = odbc:sql_query(Db, "SELECT id FROM vhcass_clients.long_texts"),
    [First, Second, Third, Last] = Rows,
    {ok, _} = odbc:select_count(Db, "SELECT id FROM vhcass_clients.long_texts"),
    Read = fun({selected, _, Some}) -> Some end,
    check(Read(odbc:first(Db)), [First]),
    check(Read(odbc:next(Db)), [Second]),
    check(Read(odbc:last(Db)), [Last]),
    check(Read(odbc:prev(Db)), [Third]),
    check(Read(odbc:select(Db, {absolute, 2}, 1)), [Second]),
    check(Read(odbc:select(Db, {relative, 1}, 1)), [Third]),
    check(Read(odbc:select(Db, next, 9)), [Last]).

%% Without Standard=Yes rows come forward only.
plain() ->
    {ok, Db} = odbc:connect("DSN=clients", [{scrollable_cursors, off}, {tuple_row, on}]),
    {selected, _, Rows} = odbc:sql_query(Db, "SELECT id, s FROM vhcass_clients.plain"),
    check(lists:sort(Rows), [{1, "one"}, {2, "two"}]),
    {error, _} = odbc:sql_query(Db, "SELEC 1"),
    ok = odbc:disconnect(Db).
