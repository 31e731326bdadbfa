// MarkingCode. The input is a text in UTF-8, one in Base64, and one of UTF-16 units.

#include <algorithm>
#include <compare>

#include "fuzz/fuzz.h"

using fuzz::require;

namespace {

/// Whether Base64 of `text` stands for it.
bool isEncodable(const QString& text)
{
    const QString encoded = QString::fromLatin1(text.toUtf8().toBase64());
    return !text.isEmpty() && !(encoded[0].isDigit() && encoded[1].isDigit()) &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return c == u'\x1D' || c.isPrint(); });
}

bool isReadable(const QString& text)
{
    const QList<uint> characters = text.toUcs4();
    return text.isValidUtf16() && std::none_of(characters.begin(), characters.end(), [](uint c) {
               const QChar::Category category = QChar::category(c);
               return category == QChar::Other_Control || category == QChar::Other_Format ||
                      category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
           });
}

void check(const MarkingCode& code)
{
    const QString& text = code.toString();
    require(MarkingCode(text) == code, "the canonical text stands for itself");
    require(MarkingCode(code.cis()).toString() == code.cis(), "so does the identifying part");
    if (isEncodable(text)) {
        const MarkingCode encoded(QString::fromLatin1(text.toUtf8().toBase64()));
        require(encoded == code, "the encoded text stands for the same code");
        require(qHash(encoded) == qHash(code) && std::is_eq(encoded <=> code),
                "equal codes sort and hash equal");
    }
    require(isReadable(code.toReadable()), "a log line carries nothing that cannot be seen");
    require(text.startsWith(code.cis()), "the identifying part is the front of the text");
    require(code.cis().isEmpty() == code.isEmpty(), "what is not empty has an identifying part");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = fuzz::bytesOf(data, size);
    check(MarkingCode(QString::fromUtf8(input)));
    check(MarkingCode(QString::fromLatin1(input.toBase64())));
    check(MarkingCode(QString(reinterpret_cast<const QChar*>(input.constData()), input.size() / 2)));
    return 0;
}
