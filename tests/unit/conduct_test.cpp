// Choices of the two conducts that nothing but a call on a statement shows: by default, and with
// Standard=Yes.
#include "tests/unit/cell_rig.h"
#include "odbc/SQLDriverConnectWide.h"
#include "tests/unit/parameter_rig.h"

static std::string told(SQLRETURN code, const rig_ptr &rig)
{
    return outcome(code, rig->stmt);
}

// A read of the cell, with the length that it told.
static std::string read_shown(const rig_ptr &rig, int type, std::size_t room)
{
    const read_result result = read_cell(rig, type, room);
    return std::to_string(result.length) + " " + told(result.code, rig);
}

// What is shown on a row of the cell, with one of a NULL behind it, with the flag and without it.
static void expect_choice(const char *flag, const source &cell, const std::string &by_default,
                          const std::string &by_standard, std::string (*shown)(const rig_ptr &rig))
{
    EXPECT_EQ(shown(cell_rig_of(cell)), by_default) << flag;
    EXPECT_EQ(shown(cell_rig_of(cell, &standard_conduct)), by_standard) << flag;
}

TEST(conduct, choices)
{
    const source blob(CQL_BLOB, "ab");
    const std::string nothing = std::to_string(UNTOUCHED);
    expect_choice("cancelling_a_prepared_statement_fails", 1, "!", "", [](const rig_ptr &rig) {
        rig->stmt->prepared = 1;
        return told(SQLCancel(rig->stmt), rig);
    });
    expect_choice("a_set_field_drops_the_indicator", 1, "", "kept", [](const rig_ptr &rig) {
        cass_desc *apd = rig->stmt->apd;
        for (const SQLSMALLINT id : {SQL_DESC_INDICATOR_PTR, SQL_DESC_DATA_PTR, SQL_DESC_SCALE})
            SQLSetDescField(apd, 1, id, rig.get(), 0);
        EXPECT_EQ(apd->fields[0].data_ptr, nullptr);
        return std::string(apd->fields[0].indicator_ptr == nullptr ? "" : "kept");
    });
    expect_choice("a_new_apd_unlinks_the_ard", 1, "", "linked", [](const rig_ptr &rig) {
        cass_desc *ard = cass_alloc_desc(rig->conn);
        SQLSetStmtAttr(rig->stmt, SQL_ATTR_APP_ROW_DESC, ard, 0);
        SQLSetStmtAttr(rig->stmt, SQL_ATTR_APP_PARAM_DESC, cass_alloc_desc(rig->conn), 0);
        return std::string(ard->stmt == rig->stmt ? "linked" : "");
    });
    expect_choice("options_mark_nothing_rebound", 1, "0", "1", [](const rig_ptr &rig) {
        rig->stmt->prepared = 1;
        SQLSetStmtOption(rig->stmt, SQL_ROWSET_SIZE, 5);
        return std::to_string(rig->stmt->params_rebound);
    });
    expect_choice("negative_decimal_loses_carry", 1, on_wire("00000002fffe00"),
                  on_wire("00000002ffff00"), [](const rig_ptr &rig) {
                      return encode_sample(*rig, SQL_DECIMAL, {"-2.56", ""}, 2);
                  });
    expect_choice("an_unknown_attribute_is_told_twice", 1, "HY092 HY000", "HY092",
                  [](const rig_ptr &rig) {
                      return told(SQLGetStmtAttr(rig->stmt, 4711, nullptr, 0, nullptr), rig);
                  });
    expect_choice("exact_fit_counts_as_cut", blob, "2 1 01004@1", "2 ",
                  [](const rig_ptr &rig) { return read_shown(rig, SQL_C_BINARY, 2); });
    expect_choice("probe_uses_up_column", 1, nothing + " 100 ", "4 ", [](const rig_ptr &rig) {
        SQLLEN length = 0;
        SQLGetData(rig->stmt, 1, SQL_C_SLONG, nullptr, 0, &length);
        return read_shown(rig, SQL_C_SLONG, 4);
    });
    expect_choice("null_without_indicator_is_warning", 1, "1 22002@1", "22002@1",
                  [](const rig_ptr &rig) {
                      int value = 0;
                      EXPECT_EQ(rig_row(rig), SQL_SUCCESS);
                      return told(SQLGetData(rig->stmt, 1, SQL_C_SLONG, &value, 4, nullptr), rig);
                  });
    expect_choice("ard_type_reads_column_in_front", 1, nothing + " 07006@0", "2 ",
                  [](const rig_ptr &rig) {
                      SQLSMALLINT at = 0;
                      SQLBindCol(rig->stmt, 1, SQL_C_SSHORT, &at, 2, nullptr);
                      return read_shown(rig, SQL_ARD_TYPE, 4);
                  });
    expect_choice("blanks_cut_number", "123  ", "0c", "7b", [](const rig_ptr &rig) {
        return to_hex(read_cell(rig, SQL_C_UTINYINT, 1).written);
    });
    expect_choice("local_row_is_transferred_twice", 1, "int 0 01004@1", "big 1 01004@1",
                  [](const rig_ptr &rig) {
                      char name[4] = "";
                      rig->stmt->page.current_packet = nullptr;
                      std::string states = told(SQLGetTypeInfo(rig->stmt, SQL_BIGINT), rig);
                      SQLBindCol(rig->stmt, 1, SQL_C_CHAR, name, sizeof name, nullptr);
                      states += told(SQLFetch(rig->stmt), rig);
                      return name + (" " + states);
                  });
}

TEST(conduct, choices_of_descriptions_and_diagnostics)
{
    expect_choice("columns_tell_no_schema", 1, "", "ks", [](const rig_ptr &rig) {
        char text[8] = "?";
        rig->stmt->executed = 1;
        rig->field(1)->keyspace_name = cass_string_from_cstr("ks");
        SQLColAttribute(rig->stmt, 1, SQL_DESC_SCHEMA_NAME, text, 8, nullptr, nullptr);
        return std::string(text);
    });
    expect_choice("a_lost_cursor_name_is_silent", 1, "!", "HY009", [](const rig_ptr &rig) {
        return told(SQLSetCursorName(rig->stmt, nullptr, SQL_NTS), rig);
    });
    expect_choice("unknown_information_is_optional", 1, "HYC00", "HY096", [](const rig_ptr &rig) {
        return outcome(SQLGetInfo(rig->conn, 9999, nullptr, 0, nullptr), rig->conn);
    });
    expect_choice("foreign_attributes_read_as_success", 1, "0 HY000", "HY092",
                  [](const rig_ptr &rig) {
                      const SQLRETURN code =
                          SQLGetConnectAttr(rig->conn, SQL_ATTR_ANSI_APP, nullptr, 0, nullptr);
                      return outcome(code, rig->conn);
                  });
    expect_choice("the_wide_connection_name_is_zero", 1, "number", "text", [](const rig_ptr &rig) {
        SQLSMALLINT length = -1;
        char text[8];
        cass_post_error(&rig->stmt->head, STATE_HY000, 0, "x");
        SQLGetDiagFieldW(SQL_HANDLE_STMT, rig->stmt, 1, SQL_DIAG_CONNECTION_NAME, text, 8, &length);
        return std::string(length == 4 ? "number" : "text");
    });
    expect_choice("some_stored_fields_fail", 1, "!", "", [](const rig_ptr &rig) {
        cass_desc *ard = rig->stmt->ard;
        return outcome(SQLSetDescField(ard, 1, SQL_DESC_NUM_PREC_RADIX, odbc_number(10), 0), ard);
    });
    expect_choice("an_exact_output_string_is_whole", 1, "0", "1", [](const rig_ptr &rig) {
        char16_t text[4];
        const owned_string out = string_of(u"a=b;");
        return std::to_string(
            driver_connect_write(rig->conn, out.get(), {text, 4, nullptr, TEXT_WIDE_UNITS}));
    });
}
