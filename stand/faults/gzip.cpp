#include "stand/faults/gzip.h"

#include <new>
#include <string_view>
#include <zlib.h>

namespace marksim {
namespace {

/// Makes a gzip stream of texts.
class GzipWriter
{
public:
    GzipWriter()
    {
        constexpr int withoutHeader = -MAX_WBITS;
        constexpr int memoryLevel = 8;
        if (deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, withoutHeader, memoryLevel,
                         Z_DEFAULT_STRATEGY) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    GzipWriter(const GzipWriter&) = delete;
    GzipWriter& operator=(const GzipWriter&) = delete;
    ~GzipWriter() { deflateEnd(&m_stream); }

    /// Adds `text` so many times. It is compressed once and its bytes repeated: after a full flush they are
    /// the same every time.
    void add(std::string_view text, std::uint64_t times = 1)
    {
        if (times == 0 || text.empty()) {
            return;
        }
        const auto bytes = deflated(text, Z_FULL_FLUSH);
        const auto crc =
            crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size()));
        for (; times > 0; --times) {
            m_result += bytes;
            m_crc = crc32_combine(m_crc, crc, static_cast<z_off_t>(text.size()));
            m_size += text.size();
        }
    }

    /// The whole stream; nothing can be added to it.
    [[nodiscard]] std::string finish()
    {
        m_result += deflated({}, Z_FINISH);
        for (const auto number : {m_crc, m_size}) {
            for (int shift = 0; shift < 32; shift += 8) {
                m_result += static_cast<char>(number >> shift & 0xff);
            }
        }
        return std::move(m_result);
    }

private:
    [[nodiscard]] std::string deflated(std::string_view text, int flush)
    {
        constexpr std::size_t flushBytes = 64;
        std::string out(deflateBound(&m_stream, text.size()) + flushBytes, '\0');
        m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
        m_stream.avail_in = static_cast<uInt>(text.size());
        m_stream.next_out = reinterpret_cast<Bytef*>(out.data());
        m_stream.avail_out = static_cast<uInt>(out.size());
        deflate(&m_stream, flush);
        out.resize(out.size() - m_stream.avail_out);
        return out;
    }

    z_stream m_stream{};
    std::string m_result{"\x1f\x8b\x08\0\0\0\0\0\0\x03", 10};
    uLong m_crc = 0;
    uLong m_size = 0;
};

}  // namespace

std::string gzipped(const std::string& text, const Filler& filler)
{
    GzipWriter gzip;
    gzip.add(std::string_view(text).substr(0, filler.at));
    gzip.add(std::string(Filler::block, 'x'), filler.size / Filler::block);
    gzip.add(std::string_view(text).substr(filler.at));
    return gzip.finish();
}

}  // namespace marksim
