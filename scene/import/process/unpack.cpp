#include "scene/import/process/unpack.h"

#include "scene/import/process/folder.h"

#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace tov::importer {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t MaxUnpackedBytes = std::size_t(1) << 32;
constexpr std::size_t BlockBytes = std::size_t(1) << 20;
constexpr char32_t Replacement = 0xfffd;

bool startsWith(const Bytes& bytes, std::uint8_t first, std::uint8_t second)
{
    return bytes.size() >= 2 && bytes[0] == first && bytes[1] == second;
}

Bytes inflated(const Bytes& packed)
{
    z_stream stream{};
    constexpr int GzipOnly = 16 + MAX_WBITS;
    if (inflateInit2(&stream, GzipOnly) != Z_OK)
        throw std::bad_alloc();
    const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, &inflateEnd);
    Bytes bytes;
    std::size_t used = 0, filled = 0;
    for (int state = Z_OK; state != Z_STREAM_END;) {
        if (filled == MaxUnpackedBytes)
            throw std::runtime_error("it holds more than 4 GiB");
        if (filled == bytes.size())
            bytes.resize(std::min(MaxUnpackedBytes, filled + std::max(BlockBytes, filled / 2)));
        stream.next_in = const_cast<Bytef*>(packed.data() + used);
        stream.avail_in = uInt(std::min(packed.size() - used, BlockBytes));
        stream.next_out = bytes.data() + filled;
        stream.avail_out = uInt(std::min(bytes.size() - filled, BlockBytes));
        const uInt offered = stream.avail_in, room = stream.avail_out;
        state = inflate(&stream, Z_NO_FLUSH);
        used += offered - stream.avail_in;
        filled += room - stream.avail_out;
        if (state != Z_OK && state != Z_STREAM_END)
            throw std::runtime_error(used == packed.size() ? "the compressed data ends too early"
                                                           : "the compressed data is damaged");
    }
    bytes.resize(filled);
    return bytes;
}

void appendUtf8(char32_t code, Bytes& to)
{
    if (code < 0x80) {
        to.push_back(std::uint8_t(code));
        return;
    }
    const int following = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr std::uint8_t Lead[] = {0, 0xc0, 0xe0, 0xf0};
    to.push_back(std::uint8_t(Lead[following] | code >> 6 * following));
    for (int i = following - 1; i >= 0; --i)
        to.push_back(std::uint8_t(0x80 | (code >> 6 * i & 0x3f)));
}

/// The Unicode Standard, section 3.9, UTF-16. Unpaired surrogates are replaced.
Bytes utf8Of(const Bytes& utf16, bool isBigEndian)
{
    const auto unitAt = [&](std::size_t at) {
        return char32_t(isBigEndian ? utf16[at] << 8 | utf16[at + 1] : utf16[at + 1] << 8 | utf16[at]);
    };
    const auto isIn = [](char32_t unit, char32_t first) { return unit >= first && unit < first + 0x400; };
    Bytes bytes;
    bytes.reserve(utf16.size() / 2);
    for (std::size_t at = 2; at + 1 < utf16.size(); at += 2) {
        const char32_t unit = unitAt(at);
        if (isIn(unit, 0xd800) && at + 3 < utf16.size() && isIn(unitAt(at + 2), 0xdc00)) {
            at += 2;
            appendUtf8(0x10000 + ((unit - 0xd800) << 10) + (unitAt(at) - 0xdc00), bytes);
        } else {
            appendUtf8(isIn(unit, 0xd800) || isIn(unit, 0xdc00) ? Replacement : unit, bytes);
        }
    }
    return bytes;
}

} // namespace

std::vector<std::uint8_t> unpackFile(const std::filesystem::path& file)
{
    Bytes bytes = readWholeFile(file);
    if (startsWith(bytes, 0x1f, 0x8b))
        bytes = inflated(bytes);
    if (startsWith(bytes, 0xff, 0xfe) || startsWith(bytes, 0xfe, 0xff))
        bytes = utf8Of(bytes, bytes[0] == 0xfe);
    return bytes;
}

bool isPacked(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    const int first = in.get(), second = in.get();
    return lower(file.extension().string()) == ".gz" || (first == 0xff && second == 0xfe) ||
           (first == 0xfe && second == 0xff);
}

} // namespace tov::importer
