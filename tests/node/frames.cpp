// Frames as they go out, and LZ4.
#include "tests/node/frames.h"

#include <lz4.h>

// [int] uncompressed length and an LZ4 block.
static bytes lz4_body(std::string_view body)
{
    const int size = static_cast<int>(body.size());
    bytes block(static_cast<std::size_t>(LZ4_compressBound(size)), '\0');
    const int written =
        LZ4_compress_default(body.data(), block.data(), size, static_cast<int>(block.size()));
    return be32(body.size()) + block.substr(0, static_cast<std::size_t>(written));
}

bytes frame_on_wire(const node_frame &frame, bool lz4, int stream)
{
    const bool compress = frame.compression == COMPRESS_AS_NEGOTIATED
                              ? lz4 && !frame.body.empty()
                              : frame.compression == COMPRESS_ALWAYS;
    const bytes body = compress ? lz4_body(frame.body) : frame.body;
    bytes wire = be8(frame.version) + be8(frame.flags | (compress ? 1 : 0)) +
                 be16(frame.stream.value_or(stream)) + be8(frame.opcode) + be32(body.size()) + body;
    if (frame.changed)
        wire[frame.changed->at] = static_cast<char>(wire[frame.changed->at] ^ frame.changed->mask);
    return wire.substr(0, frame.cut.value_or(wire.size())).substr(frame.skip);
}

std::optional<bytes> lz4_restore(std::string_view compressed)
{
    constexpr std::size_t largest = 256u << 20;
    std::size_t size = 0;
    for (const char c : compressed.substr(0, 4))
        size = size << 8 | static_cast<unsigned char>(c);
    if (compressed.size() < 4 || size > largest)
        return std::nullopt;
    bytes out(size, '\0');
    const int read =
        LZ4_decompress_safe(compressed.data() + 4, out.data(),
                            static_cast<int>(compressed.size() - 4), static_cast<int>(size));
    return read == static_cast<int>(size) ? std::optional(out) : std::nullopt;
}
