// Dates, times and guids of ODBC to text and to bytes. The text functions give the number of
// characters, upper case where it matters; what follows in the room that they need is undefined.
#ifndef SUPPORT_STRUCTTEXT_H
#define SUPPORT_STRUCTTEXT_H

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string_view>

#include "support/bigendian.h"

// Room for each of these texts, also for those of structs whose parts are no date or time.
constexpr int STRUCT_TEXT_ROOM = 48;

// "YYYY-MM-DD" and "HH:MM:SS". Parts that need more digits get them.
int text_from_date(char *out, int year, unsigned month, unsigned day);
int text_from_time(char *out, unsigned hour, unsigned minute, unsigned second);
// "YYYY-MM-DD HH:MM:SS", and with `digits` (1 to 9) a point and `fraction` behind it, which is
// counted in units of the last digit.
int text_from_timestamp(char *out, const SQL_TIMESTAMP_STRUCT &timestamp, std::uint32_t fraction,
                        int digits);
// "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX".
int text_from_guid(char *out, const SQLGUID &guid);
// Reads that text, in digits of either case. False for any other.
bool guid_from_text(std::string_view text, SQLGUID *guid);

// The 16 bytes in the order of the text.
inline void guid_from_bytes(SQLGUID *guid, const unsigned char *bytes)
{
    guid->Data1 = load_be32(bytes);
    guid->Data2 = load_be16(bytes + 4);
    guid->Data3 = load_be16(bytes + 6);
    std::memcpy(guid->Data4, bytes + 8, sizeof guid->Data4);
}

inline void guid_to_bytes(const SQLGUID &guid, unsigned char *bytes)
{
    store_be32(bytes, guid.Data1);
    store_be16(bytes + 4, guid.Data2);
    store_be16(bytes + 6, guid.Data3);
    std::memcpy(bytes + 8, guid.Data4, sizeof guid.Data4);
}

#endif
