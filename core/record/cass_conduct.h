// Where the driver could reasonably do one thing or another, the choice is a field of one constant
// record, and a connection points to the record that it follows. A field is a fact about the driver
// in its own words; its comment says what the driver does when the field is 1. A flag is read in
// exactly one small function that bears its name.
#ifndef CORE_RECORD_CASS_CONDUCT_H
#define CORE_RECORD_CASS_CONDUCT_H

struct cass_conduct {
    // Statements and parameters.

    // Of a text only the low byte of each unit goes out: ANSI calls hand over bytes, which reach
    // the server unchanged. 0: bytes as they stand, and UTF-16 as UTF-8.
    bool text_goes_out_by_low_bytes;
    // A parameter whose indicator is SQL_NULL_DATA writes no value at all, and the count in front
    // stays: the server refuses the request. 0: a null is written.
    bool null_indicator_leaves_value_out;
    // The unscaled value of a negative decimal is one byte's two's complement at its end: a carry
    // is lost, and -256 goes out as -512, as stored data was written. 0: the carry is carried.
    bool negative_decimal_loses_carry;
    // A whole number of one byte goes out as eight where the target is binary. 0: as one.
    bool byte_goes_out_as_eight;

    // Cells and rows.

    // A cut piece of wide text or wide hexadecimal digits fills the buffer to its last unit,
    // without a terminator. 0: the last unit is the terminator's, as in ANSI text.
    bool wide_cut_fills_buffer;
    // A piece of bytes that fits exactly counts as cut: the read after it, of 0 bytes, tells that
    // there is no more. 0: it is whole.
    bool exact_fit_counts_as_cut;
    // The length told of hexadecimal ANSI text does not count the doubling of what is left and what
    // was read. 0: it is that of the digits which are left.
    bool hexadecimal_length_is_undoubled;
    // A column that is no text or binary is used up by a read without a buffer. 0: it stays open.
    bool probe_uses_up_column;
    // SQL NULL without an indicator is a warning of 22002. 0: an error.
    bool null_without_indicator_is_warning;
    // SQL_ARD_TYPE reads the column in front of the one named. 0: the one named.
    bool ard_type_reads_column_in_front;
    // Blanks behind a number in a text decide how much of it is taken. 0: they are passed over.
    bool blanks_cut_number;
    // A rowset of several rows that delivered any is a success, whatever its last row was. 0: a
    // success with info when a row was cut or ended the rowset by an error.
    bool rowset_of_several_is_success;
    // A next page that did not come leaves an emptied row, which is transferred. 0: an error.
    bool lost_page_leaves_emptied_row;
    // A row of a local result is transferred twice: a bound text that is cut gets its next piece
    // into the same buffer. 0: once.
    bool local_row_is_transferred_twice;

    // Descriptions and diagnostics.

    // Catalog and information.

    // Session.
};

extern const cass_conduct default_conduct;

#endif
