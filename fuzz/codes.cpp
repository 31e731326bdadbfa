// Codes as they are given to poshost: the content of a file of codes, and each of its lines as typed.

#include <optional>

#include "fuzz/fuzz.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/till/codes.h"

using fuzz::require;

namespace {

/// What `read` gives; nothing when it refuses.
template <class Read>
std::optional<QList<MarkingCode>> codesOf(Read read)
{
    try {
        return read();
    } catch (const poshost::FatalError& refusal) {
        const QString line = refusal.line();
        require(!line.isEmpty() && line == line.simplified(), "a refusal is one line");
        return std::nullopt;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray content = fuzz::bytesOf(data, size);
    const auto codes = codesOf([&] { return poshost::codesOfLines(content, QStringLiteral("file")); });
    if (!codes) {
        return 0;
    }
    const QByteArray ended = content.endsWith('\n') ? content : content + '\n';
    QList<QByteArray> lines = ended.split('\n');
    lines.removeLast();
    for (QByteArray& line : lines) {
        line.chop(line.endsWith('\r') ? 1 : 0);
    }
    require(codesOf([&] { return poshost::codesOfLines(ended, {}); }) == codes, "the last line needs no end");
    require(codesOf([&] { return poshost::readCodes(lines, {}); }) == codes, "a typed code is the same");
    require(codes->size() == lines.size(), "every line is a code");
    for (const MarkingCode& code : *codes) {
        require(!code.isEmpty() && code.toString().size() <= poshost::maxCode, "a code has a fit length");
    }
    return 0;
}
