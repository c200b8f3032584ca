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

    // Cells and rows.

    // Descriptions and diagnostics.

    // Catalog and information.

    // Session.
};

extern const cass_conduct default_conduct;

#endif
