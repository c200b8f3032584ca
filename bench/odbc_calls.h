// What the benchmark programs share of calling ODBC.
#ifndef BENCH_ODBC_CALLS_H
#define BENCH_ODBC_CALLS_H

#include <sql.h>
#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <string>

// Prints the handle's first record and ends the program.
[[noreturn]] inline void fail(const char *what, SQLSMALLINT type, SQLHANDLE handle)
{
    SQLCHAR state[6] = "", text[1024] = "";
    SQLGetDiagRec(type, handle, 1, state, nullptr, text, sizeof text, nullptr);
    std::fprintf(stderr, "%s: %s %s\n", what, reinterpret_cast<char *>(state),
                 reinterpret_cast<char *>(text));
    std::exit(1);
}

// The text as an ODBC argument, which takes no const.
inline SQLCHAR *odbc_text(const std::string &text)
{
    return reinterpret_cast<SQLCHAR *>(const_cast<char *>(text.c_str()));
}

#endif
