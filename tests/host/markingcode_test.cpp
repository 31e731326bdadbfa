#include "tests/doubles/printers.h"
#include <utils/markingcode.h>

namespace {

/// A code that begins with a GTIN; "|" stands for GS.
QByteArray gs1(const QByteArray& rest)
{
    return "0104601234567893" + QByteArray(rest).replace('|', '\x1D');
}

const QByteArray signature = "dGhpcyBzaWduYXR1cmUgaXMgbWFkZSB1cCBmb3Ig/+0=";

/// The codes in use, each with the part that identifies it.
const std::pair<QByteArray, QByteArray> codes[] = {
    {gs1("215Abc!&|93dGVz"), gs1("215Abc!&")},                               // milk
    {gs1("215AbcdEFgh1234|93dGVz"), gs1("215AbcdEFgh1234")},                 // water
    {gs1("215AbcdEFgh1234|91EE05|92" + signature), gs1("215AbcdEFgh1234")},  // shoes
    {"04601234567893ABCDEFGAAABCDEF", "04601234567893ABCDEFG"},              // a pack of tobacco
    {gs1("21ABCDEFG|8005123456|93dGVz"), gs1("21ABCDEFG")},                  // a block of them
    {"RU-401301-AAA7277031", "RU-401301-AAA7277031"},                        // fur
    {gs1("215Абц!&|93вЯы"), gs1("215Абц!&")},  // a scanner with the Russian layout
    // A scanner set up without separators
    {gs1("215Abc!&93dGVz"), gs1("215Abc!&")},
    {gs1("215AbcdEFgh123491EE0592" + signature), gs1("215AbcdEFgh1234")},
    {gs1("215AbcdEFgh123491EE0592" + signature.repeated(2)), gs1("215AbcdEFgh1234")},
    {gs1("21ABCDEFG800512345693dGVz"), gs1("21ABCDEFG")},
    {gs1("215AbcdEF93dGVz"), gs1("215AbcdEF")},
    {gs1("21A93dGVz"), gs1("21A93dGVz")},  // a whole serial number of some goods
};

TEST(Code, IsTheSameInEveryForm)
{
    for (const auto& [text, cis] : codes) {
        SCOPED_TRACE(text.toStdString());
        const MarkingCode code{QString(text)};
        EXPECT_EQ(code.toString(), text);
        EXPECT_EQ(code.cis(), cis);
        EXPECT_EQ(MarkingCode(code.cis()).cis(), cis);
        for (const char* prefix : {"", "]d2", "]C1", "]Q3", "\x1D", "]C1\x1D"}) {
            EXPECT_EQ(MarkingCode(prefix + text), code);
            const MarkingCode encoded((prefix + text).toBase64());
            EXPECT_EQ(encoded.toString(), text);
            EXPECT_EQ(qHash(encoded), qHash(code));
            EXPECT_EQ(encoded <=> code, std::strong_ordering::equal);
        }
    }
}

TEST(Code, IsDecodedFromStrictBase64Only)
{
    for (const char* text :
         {"QUJD\n", "QUJ", "QUJDRA=", "QUJDRB==", "QU=D", "QUJD=", "====", "gICA", "QUJD QUJD"}) {
        EXPECT_EQ(MarkingCode(text).toString(), text);
    }
    EXPECT_EQ(MarkingCode("QUJD").toString(), "ABC");
    EXPECT_EQ(MarkingCode("QUJDRA==").toString(), "ABCD");
    EXPECT_EQ(MarkingCode("46Gw").toString(), "46Gw") << "two digits begin a code";
}

TEST(Code, IsTheSameWhenItIsMadeOfItsOwnTextAgain)
{
    const std::pair<const char*, const char*> cases[] = {
        {"UVVKRA==", "ABC"}, {"]d2QUJD", "ABC"}, {"XWQyUVVKRA==", "ABC"}, {"0ZE=", "ё"}, {"", ""}};
    for (const auto& [text, canonical] : cases) {
        const MarkingCode code{QString(text)};
        EXPECT_EQ(code.toString(), canonical) << text;
        EXPECT_EQ(MarkingCode(code.toString()), code) << text;
        EXPECT_EQ(MarkingCode(code.cis()).toString(), code.cis()) << text;
    }
}

TEST(Code, ReadableShowsWhatCannotBeSeen)
{
    const std::pair<QString, QString> cases[] = {
        {QString("01\x1D") + '2', "01<GS>2"},
        {"a\r\n\t\u007F", "a\\u000d\\u000a\\u0009\\u007f"},
        {"a\u200B\u2028\u2029\uFEFF", "a\\u200b\\u2028\\u2029\\ufeff"},
        {QString("a") + QChar(0xD800), "a\\ud800"},
        {QString("a") + QChar(0xDC00) + 'b', "a\\udc00b"},
        {"код 😀 \\", "код 😀 \\"}};
    for (const auto& [text, readable] : cases) {
        EXPECT_EQ(MarkingCode(text).toReadable(), readable);
    }
}

}  // namespace
