// Base64 (RFC 4648).
#ifndef SUPPORT_BASE64_H
#define SUPPORT_BASE64_H

// Base64 without line breaks of a NUL-terminated text. The caller frees the new text; null when
// memory runs out.
char *cass_base64(const char *text);

#endif
