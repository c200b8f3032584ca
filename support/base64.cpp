#include "support/base64.h"

#include <openssl/bio.h>
#include <openssl/buffer.h>
#include <openssl/evp.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "support/held.h"

using held_bio = held<BIO, &BIO_free>;

static char *copy_of(const BUF_MEM *memory)
{
    auto *text = static_cast<char *>(std::malloc(memory->length + 1));
    if (text == nullptr)
        return nullptr;
    std::copy_n(memory->data, memory->length, text);
    text[memory->length] = '\0';
    return text;
}

char *cass_base64(const char *text)
{
    const std::size_t length = std::strlen(text);
    const held_bio memory(BIO_new(BIO_s_mem()));
    const held_bio filter(BIO_new(BIO_f_base64()));
    if (memory == nullptr || filter == nullptr || length > INT_MAX / 2)
        return nullptr;
    BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    BIO_push(filter.get(), memory.get());
    const bool whole =
        BIO_write(filter.get(), text, static_cast<int>(length)) == static_cast<int>(length) &&
        BIO_flush(filter.get()) == 1;
    BIO_pop(filter.get());
    BUF_MEM *encoded = nullptr;
    BIO_get_mem_ptr(memory.get(), &encoded);
    return whole && encoded != nullptr ? copy_of(encoded) : nullptr;
}
