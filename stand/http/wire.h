#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace marksim {

/// Filler bytes ('x') inside of a body. They are made while they are sent, so that a body of many megabytes
/// costs no memory.
struct Filler
{
    static constexpr std::size_t block = 1024UL * 1024;

    std::uint64_t size = 0;  ///< a multiple of a block
    std::size_t at = 0;      ///< place in the body's text
};

/// The bytes of one reply, head and body, to be read from any offset.
struct Wire
{
    std::string head;
    std::string body;
    Filler filler;

    [[nodiscard]] std::uint64_t size() const { return head.size() + body.size() + filler.size; }
    /// Copies up to `count` bytes from `offset` on into `out`; returns how many.
    std::size_t read(std::uint64_t offset, char* out, std::size_t count) const;
};

}  // namespace marksim
