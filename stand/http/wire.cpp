#include "stand/http/wire.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace marksim {
namespace {

/// A run of bytes: a text, or filler when the text is null.
struct Run
{
    const char* text;
    std::uint64_t size;
};

}  // namespace

std::size_t Wire::read(std::uint64_t offset, char* out, std::size_t count) const
{
    const std::array<Run, 4> runs = {{{head.data(), head.size()},
                                      {body.data(), filler.at},
                                      {nullptr, filler.size},
                                      {body.data() + filler.at, body.size() - filler.at}}};
    std::size_t done = 0;
    for (const auto& run : runs) {
        if (offset >= run.size) {
            offset -= run.size;
            continue;
        }
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(run.size - offset, count - done));
        if (run.text) {
            std::memcpy(out + done, run.text + offset, part);
        } else {
            std::memset(out + done, 'x', part);
        }
        done += part;
        offset = 0;
    }
    return done;
}

}  // namespace marksim
