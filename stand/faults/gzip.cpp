#include "stand/faults/gzip.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <zlib.h>

namespace marksim {
namespace {

std::string deflated(z_stream& stream, std::string_view text, int flush)
{
    constexpr std::size_t flushBytes = 64;
    std::string out(deflateBound(&stream, text.size()) + flushBytes, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, flush);
    out.resize(out.size() - stream.avail_out);
    return out;
}

}  // namespace

std::string gzipped(const std::string& text, const Filler& filler)
{
    constexpr int withoutHeader = -MAX_WBITS;
    constexpr int memoryLevel = 8;
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, withoutHeader, memoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<z_stream, decltype(&deflateEnd)> end(&stream, deflateEnd);
    const std::string block(std::min<std::uint64_t>(filler.size, Filler::block), 'x');
    const std::pair<std::string_view, std::uint64_t> parts[] = {
        {std::string_view(text).substr(0, filler.at), 1},
        {block, filler.size / Filler::block},
        {std::string_view(text).substr(filler.at), 1}};
    std::string result{"\x1f\x8b\x08\0\0\0\0\0\0\x03", 10};
    uLong crc = 0;
    uLong size = 0;
    for (const auto& [part, times] : parts) {
        // Compressed once and repeated: after a full flush the bytes are the same every time.
        const auto bytes = deflated(stream, part, Z_FULL_FLUSH);
        const auto partCrc =
            crc32(0, reinterpret_cast<const Bytef*>(part.data()), static_cast<uInt>(part.size()));
        for (auto left = times; left > 0; --left) {
            result += bytes;
            crc = crc32_combine(crc, partCrc, static_cast<z_off_t>(part.size()));
            size += part.size();
        }
    }
    result += deflated(stream, {}, Z_FINISH);
    for (const auto number : {crc, size}) {
        for (int shift = 0; shift < 32; shift += 8) {
            result += static_cast<char>(number >> shift & 0xff);
        }
    }
    return result;
}

}  // namespace marksim
