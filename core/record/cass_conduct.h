// Where the driver could reasonably do one thing or another, the choice is a field of one constant
// record, and a connection points to the record that it follows. A field is a fact about the driver
// in its own words; its comment says what the driver does when it is true. A flag is read in
// exactly one small function that bears its name.
#ifndef CORE_RECORD_CASS_CONDUCT_H
#define CORE_RECORD_CASS_CONDUCT_H

struct cass_conduct {
    // Statements and parameters.

    // Of a text only the low byte of each unit goes out: ANSI calls hand over bytes, which reach
    // the server unchanged. 0: bytes as they stand, and UTF-16 as UTF-8.
    bool text_goes_out_by_low_bytes;
    // Escapes of ODBC are blanked out by a simple rule, and markers counted in comments too. 0: the
    // text is read as CQL, and escapes become literals.
    bool escapes_are_blanked;
    // A SELECT without a table goes out and is refused. 0: that of one literal asks the server for
    // it.
    bool a_select_needs_a_table;
    // SQLNativeSql gives the text as it is. 0: as it would be sent.
    bool native_sql_repeats_the_text;
    // A parameter whose indicator is SQL_NULL_DATA writes no value at all, and the count in front
    // stays: the server refuses the request. 0: a null is written.
    bool null_indicator_leaves_value_out;
    // The SQL type of SQLBindParameter chooses a value's form on the wire. 0: the type that the
    // server has told of the marker; the binding only says how to read the application's memory.
    bool binding_decides_encoding;
    // A direct execution with markers goes out as text and values. 0: it is prepared first.
    bool markers_go_out_unprepared;
    // Each half of a surrogate pair in a wide parameter goes out as a character of three bytes,
    // which is no UTF-8. 0: a pair is one character, and a half alone is refused by 22018.
    bool pairs_go_out_as_halves;
    // The unscaled value of a negative decimal is one byte's two's complement at its end: a carry
    // is lost, and -256 goes out as -512. 0: the carry is carried.
    bool negative_decimal_loses_carry;
    // A whole number of one byte goes out as eight where the target is binary. 0: as one.
    bool byte_goes_out_as_eight;
    // A prepared execution looks for data at execution at the set where the run before has ended,
    // so that it pauses in the first run alone. 0: at every set of every run.
    bool data_is_awaited_in_first_run_only;
    // Chunks of data at execution stay until their parameter is bound anew. 0: until the next run.
    bool chunks_outlive_their_run;
    // A set of an array that failed is information when another one succeeded. 0: it is an error,
    // and the records name their sets.
    bool failed_set_is_information;
    // Each PREPARE goes out. 0: not one of a text that the connection has prepared before.
    bool each_prepare_goes_out;
    // The server's word that it does not know a prepared statement any more is an error like
    // another. 0: the statement is prepared and executed again, once.
    bool a_forgotten_statement_is_an_error;
    // A warning of the server that comes with PREPARE is posted there. 0: by the first execution.
    bool a_warning_comes_with_its_prepare;
    // A reply without rows leaves the columns and the rows of the statement's result before it.
    bool a_reply_without_rows_leaves_columns;
    // A set whose values cannot be encoded ends an execution, and one behind a broken connection is
    // tried. 0: a set fails alone; behind a broken connection or SQLCancel none is tried.
    bool a_faulty_set_ends_the_array;
    // The status of a set that the operation array leaves out stays as it is. 0: SQL_PARAM_UNUSED.
    bool skipped_sets_keep_their_status;
    // SQLPutData takes any negative length for a null, beside other data too. 0: SQL_NTS is
    // measured, a fixed type has its own size and one chunk, and a null stands alone.
    bool chunks_are_not_judged;
    // A pause for data at execution never ends: data is taken behind its run, and SQLCancel leaves
    // it open. 0: either ends it.
    bool a_pause_stays_open;
    // SQLBindParameter refuses sizes and digits that no decimal has, by HY104 and HY021. 0: it
    // takes any, as the column decides.
    bool sizes_of_a_binding_are_judged;
    // Setting a field of an APD's record takes its indicator away with its buffer. 0: the buffer.
    bool a_set_field_drops_the_indicator;
    // SQL_DEFAULT_PARAM is a length like another. 0: 07S01, as CQL has no default parameters.
    bool a_default_parameter_is_a_length;
    // Installing an APD takes the statement's link from the current ARD.
    bool a_new_apd_unlinks_the_ard;
    // Taking back a binding that was there gives SQL_ERROR without a record.
    bool unbinding_a_parameter_fails;
    // SQLCancel of a prepared statement gives SQL_ERROR without a record.
    bool cancelling_a_prepared_statement_fails;
    // Cursor attributes are stored and read back, and rows come forward only all the same, without
    // bookmarks. 0: a static cursor scrolls, and what there is no cursor for becomes static or
    // read-only, with 01S02.
    bool cursor_attributes_are_kept_only;
    // Attributes take any value, also those that nothing follows. 0: HY024 for what is no value of
    // theirs, and HYC00 for asynchronous execution, simulated cursors, translation and enlisting in
    // a transaction, but for their defaults.
    bool attributes_take_any_value;
    // SQL_ATTR_MAX_ROWS is stored only. 0: a result ends there, and no page asks for more.
    bool row_limits_are_kept_only;
    // SQL_ATTR_MAX_LENGTH is stored only. 0: of text and binary values no more is read.
    bool length_limits_are_kept_only;
    // SQLSetStmtOption with a new rowset size does not mark a prepared statement as rebound.
    bool options_mark_nothing_rebound;
    // A page has 100 rows. 0: 5000.
    bool pages_are_small;
    // A request waits for its reply whatever SQLCancel of another thread says. 0: it ends.
    bool cancelling_waits_for_the_reply;
    // SQL_ATTR_QUERY_TIMEOUT and SQL_ATTR_CONNECTION_TIMEOUT are stored only. 0: they end a
    // request.
    bool time_out_attributes_are_kept_only;
    // Whatever frame comes next is the reply, and a request that ran into its time-out ends the
    // connection. 0: a reply has its request's stream number; one that comes late is dropped.
    bool any_frame_is_the_reply;
    // SQL_ATTR_CONNECTION_DEAD tells whether the application has disconnected. 0: whether the
    // connection broke or the peer has closed it, too.
    bool a_connection_is_dead_when_closed;
    // A connection that broke is tried again by each request. 0: it refuses them, by 08003.
    bool broken_connections_are_tried;

    // Cells and rows.

    // A cut piece of wide text or wide hexadecimal digits fills the buffer to its last unit,
    // without a terminator. 0: the last unit is the terminator's, as in ANSI text.
    bool wide_cut_fills_buffer;
    // Of the UTF-8 of a cell each sequence gives one unit of wide text. 0: a character beyond the
    // basic plane is a surrogate pair, which a bound column does not split.
    bool wide_cells_have_no_pairs;
    // A bound ANSI text is cut at any byte. 0: between characters.
    bool narrow_cut_splits_characters;
    // A piece of bytes that fits exactly counts as cut: the read after it, of 0 bytes, tells that
    // there is no more. 0: it is whole.
    bool exact_fit_counts_as_cut;
    // The length told of hexadecimal ANSI text does not count the doubling of what is left and what
    // was read. 0: it is that of the digits which are left.
    bool hexadecimal_length_is_undoubled;
    // Hexadecimal ANSI text is whole when two digits more than it has would fit, and a buffer with
    // a cut piece ends in a zero as well as the piece. 0: what fits with its terminator is whole.
    bool hexadecimal_leaves_room;
    // A column that is no text or binary is used up by a read without a buffer. 0: it stays open.
    bool probe_uses_up_column;
    // SQL NULL without an indicator is a warning of 22002. 0: an error.
    bool null_without_indicator_is_warning;
    // SQL_ARD_TYPE reads the column in front of the one named. 0: the one named.
    bool ard_type_reads_column_in_front;
    // Blanks behind a number in a text decide how much of it is taken. 0: they are passed over.
    bool blanks_cut_number;
    // A rowset of several rows that delivered any is a success, whatever its last row was, which
    // ends it by an error. 0: a row that fails does so alone, the rowset is a success with info
    // when a row was cut or failed, with records that name it, and a page that does not come is
    // told by the next fetch.
    bool rowset_of_several_is_success;
    // SQLGetData behind a rowset of several rows reads its last row, or an emptied one. 0: HYC00.
    bool data_is_read_behind_a_rowset;
    // A next page that did not come leaves an emptied row, which is transferred. 0: an error.
    bool lost_page_leaves_emptied_row;
    // A row of a local result is transferred twice: a bound text that is cut gets its next piece
    // into the same buffer. 0: once.
    bool local_row_is_transferred_twice;
    // An array of uuids is spaced by the length it was bound with, unlike every other fixed type.
    bool uuid_arrays_are_spaced_by_length;
    // Parts of a timestamp before 1970 are those of a negative number. 0: they count up from
    // midnight.
    bool early_times_are_negative;
    // Lists, sets, maps, tuples, user types, durations and vectors are described as binary and read
    // as the wire's bytes. 0: as the text of a CQL literal.
    bool nested_values_are_bytes;
    // A decimal or varint beyond 128 bits is out of range for every target, of a scale the low byte
    // counts, and the year of a date or timestamp is cut to 16 bits. 0: such a value is read as
    // text, exactly, and out of range for a target that cannot hold it.
    bool large_values_are_lost;
    // A number is converted by the form of its source: no exponent in a text, any scale is a
    // fraction, a negative one passes into 32 and 64 bits without sign, SQL_C_NUMERIC keeps the
    // scale of the source. 0: by its value, into the precision and scale that the application has
    // set.
    bool numbers_are_converted_loosely;
    // Any text is a time, whose missing parts are 0, and none a date or timestamp. 0: ISO 8601 is
    // read, and 22018 told of another text.
    bool any_text_is_a_time;
    // A text is not read as a guid. 0: the text of one is.
    bool no_text_is_a_guid;
    // A float or double as text has seven significant digits. 0: as many as it takes to read the
    // same number back.
    bool floating_text_is_rounded;
    // Text of a value of a fixed size that its buffer cannot take is cut and lost. 0: SQLGetData
    // reads it in pieces, and of a bound number the fraction alone can be cut.
    bool formatted_text_is_cut;
    // A buffer that has no room for one character takes nothing, and counts as cut. 0: HY090.
    bool a_piece_may_be_empty;
    // A read that fails uses its column up.
    bool a_failed_read_uses_up_column;
    // SQLGetData without a buffer tells the length. 0: HY009.
    bool a_read_needs_no_buffer;
    // SQLGetData goes on where a bound column has ended. 0: it begins at the head.
    bool bound_cells_are_used_up;
    // Hexadecimal digits have upper-case letters in wide text. 0: lower-case, as in ANSI text.
    bool wide_hexadecimal_is_upper_case;
    // A wide timestamp has milliseconds where its buffer has 23 bytes. 0: where there are any.
    bool wide_timestamps_follow_the_buffer;
    // A column whose record is found inconsistent keeps the pointers it was bound with.
    bool a_refused_column_stays_bound;
    // A boolean reads as the byte that is stored, a number from -128 to 127. 0: as 0 or 1.
    bool a_boolean_is_its_byte;

    // Descriptions and diagnostics.

    // Up to 65,535 columns are described that a reply announces, whether it has room for them or
    // not. 0: beyond 1,024 it must.
    bool announced_columns_are_described;
    // Descriptions of columns and parameters have some digits, names and literals of others: int 7
    // digits, decimal the name varint, time a timestamp; text is narrow, nullability not known. 0:
    // as the types are, text is wide, and a nested type has its whole name.
    bool descriptions_are_approximate;
    // The size of a parameter is the width of its text. 0: that of a column of its type.
    bool parameters_have_display_sizes;
    // Text and binary columns have a size of 256 and 1024 where no setting says another. 0: 4000.
    bool unsized_columns_are_short;
    // Every error of the server is 08S01, with its code in the message. 0: a state by the code and
    // the text, and the code as native error.
    bool server_errors_are_link_failures;
    // A reply that makes no sense is 08S01, and so is a request that no frame can hold. 0: HY000,
    // as the connection goes on.
    bool malformed_replies_are_link_failures;
    // A second record, HY000, follows HY092 when an unknown statement attribute is read.
    bool an_unknown_attribute_is_told_twice;
    // A number above the markers fails and hands out what a record says of it.
    bool a_surplus_parameter_is_described;
    // SQLColAttribute has empty texts for schema and catalog; descriptors tell the keyspace.
    bool columns_tell_no_schema;
    // A text of a descriptor that is cut leaves its 01004 beside SQL_SUCCESS.
    bool a_cut_descriptor_text_is_a_success;
    // SQLGetDescField and SQLGetDescRec past the last record are 07009 and not SQL_NO_DATA.
    bool a_record_past_the_end_is_an_error;
    // Setting SQL_DESC_ROWS_PROCESSED_PTR or SQL_DESC_NUM_PREC_RADIX stores and gives SQL_ERROR.
    bool some_stored_fields_fail;
    // SQLGetCursorName without a buffer gives SQL_ERROR without a record.
    bool a_cursor_name_needs_a_buffer;
    // SQLSetCursorName that gets no name posts nothing beside its SQL_ERROR.
    bool a_lost_cursor_name_is_silent;
    // SQLGetDiagField of a text without a buffer gives SQL_NO_DATA.
    bool a_probe_of_a_text_field_is_no_data;
    // SQLGetDiagRec without a buffer counts code units, also in its ANSI form.
    bool a_probe_of_a_record_counts_units;
    // SQL_DIAG_CONNECTION_NAME is the number 0 in the wide form and a text in the ANSI form.
    bool the_wide_connection_name_is_zero;
    // Reading an attribute of the Driver Manager's posts HY000 beside SQL_SUCCESS.
    bool foreign_attributes_read_as_success;
    // A short of a local result has the type name and octet length of an integer.
    bool local_shorts_are_integers;

    // Catalog and information.

    // The catalog functions have rules of their own: arguments are conditions of the driver's
    // queries, which the server compares, rows and columns have an order and names of their own,
    // and other statements wait until they were read. 0: those of ODBC, names are compared here.
    bool the_catalog_has_its_own_rules;
    // SQLGetFunctions claims ten functions that the library does not export. 0: what it exports.
    bool functions_not_exported_are_claimed;
    // SQLGetInfo claims what its first applications wanted to hear, joins and functions among it,
    // and a text that is not set is left unwritten. 0: what there is.
    bool information_is_approximate;
    // There is a catalog CASSANDRA. 0: there are none.
    bool there_is_a_catalog;
    // SQLGetInfo of an unknown type is HYC00 and not HY096.
    bool unknown_information_is_optional;

    // Session.

    // User and password of an ANSI connection string, or of a file, are read as Latin-1. 0: as
    // UTF-8.
    bool credentials_are_of_latin_1;
    // What fails while a session starts is HY000. 0: 28000 for refused credentials, 08004 for
    // another word of the server, 08001 for none and HYT00 for none in time.
    bool logon_errors_are_general;
    // A keyspace that the server refuses gives SQL_SUCCESS_WITH_INFO without a record and without a
    // session. 0: an error, with the server's words.
    bool a_refused_keyspace_is_information;
    // A connection that broke stays so. 0: another session takes its place, unless a setting says
    // no.
    bool a_lost_connection_stays_lost;
    // Of a list of servers the first whose socket opens gets the session, of a name the first
    // address is tried, and a failure is told of the last server alone. 0: the first whose session
    // stands, over all addresses, and a failure names each of them.
    bool only_sockets_are_walked;
    // The login time-out covers the TCP connect of each server, by HYT01. 0: the whole call, of
    // which each address has an equal share, by HYT00.
    bool a_login_is_timed_to_the_socket;
    // One class of authenticator is answered, and whatever comes back but an error is a success.
    // 0: any class gets user and password, and a challenge that asks for anything else is refused.
    bool one_authenticator_is_answered;
    // A server that asks for credentials where none are set gets a login of the driver's own. 0:
    // 28000.
    bool a_login_is_invented;
    // A rollback is a success without a word, as a commit is. 0: with a record 01000.
    bool a_rollback_is_a_commit;
    // An output string that fits but for its terminator loses its last semicolon and is not cut.
    bool an_exact_output_string_is_whole;
    // A connection string is cut by braces that nest and stay in its values, a text keeps the first
    // value and anything else the last, DSN and string have spellings of their own, and what a key
    // does not know counts as 0. 0: by ODBC's grammar, the first of equal keys, one list of
    // spellings, and a value that its key does not take is an error.
    bool settings_are_read_loosely;
    // SQLDriverConnect takes back connection attributes that were set before it.
    bool connecting_forgets_attributes;
    // The output string names what the first applications read in it: the server that answered,
    // values as they are, a bundle by a key that no string takes. 0: all that connects again.
    bool output_strings_are_partial;
    // Passwords, tokens and keys stand in the log as they go out.
    bool secrets_are_logged;
    // TLS has version 1.2. 0: 1.3 too.
    bool tls_is_1_2_alone;
    // Trust anchors are those of all connections of the environment, and none without a setting. 0:
    // of the connection alone, and the system's without a setting.
    bool anchors_are_shared;
    // The name on the server's certificate counts where a setting asks for it. 0: where none says
    // that it does not.
    bool any_server_name_will_do;
};

// What a connection follows unless told otherwise, and what it follows with Standard=Yes: that an
// application which knows other ODBC drivers finds here what it expects.
extern const cass_conduct default_conduct;
extern const cass_conduct standard_conduct;

#endif
