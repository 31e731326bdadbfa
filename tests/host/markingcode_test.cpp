#include <gtest/gtest.h>

#include <QSet>

#include <utils/markingcode.h>

#include "printers.h"

namespace {

constexpr const char* gtin = "0104601234567893";

struct CodeCase
{
    const char* name;
    QByteArray text;
    QByteArray cis;
};

std::ostream& operator<<(std::ostream& out, const CodeCase& c)
{
    return out << c.name;
}

QByteArray gs1(const QByteArray& rest)
{
    return gtin + rest;
}

/// With GS given as "|".
QByteArray gs(QByteArray text)
{
    return text.replace('|', '\x1D');
}

const QByteArray key44 = "91EE0592" + QByteArray("dGhpcyBzaWduYXR1cmUgaXMgbWFkZSB1cCBmb3Ig/+0=");
const QByteArray key88 = "91EE0592" + QByteArray("dGhpcyBzaWduYXR1cmUgaXMgbWFkZSB1cCBmb3Ig/+0=").repeated(2);

/// The codes in use, each with the part that identifies it.
const std::vector<CodeCase> codes = {
    {"Milk", gs(gs1("215Abc!&|93dGVz")), gs1("215Abc!&").left(24)},
    {"Water", gs(gs1("215AbcdEFgh1234|93dGVz")), gs1("215AbcdEFgh1234")},
    {"ShoesShortKey", gs(gs1("215AbcdEFgh1234|91EE05|92" + key44.mid(8))), gs1("215AbcdEFgh1234")},
    {"ShoesLongKey", gs(gs1("215AbcdEFgh1234|91EE05|92" + key88.mid(8))), gs1("215AbcdEFgh1234")},
    {"SerialAlone", gs1("215AbcdEFgh1234"), gs1("215AbcdEFgh1234")},
    {"TobaccoPack", "04601234567893ABCDEFGAAABCDEF", "04601234567893ABCDEFG"},
    {"TobaccoBlock", gs(gs1("21ABCDEFG|8005123456|93dGVz")), gs1("21ABCDEFG")},
    {"Fur", "RU-401301-AAA7277031", "RU-401301-AAA7277031"},
    {"LettersOnly", "ABCDEFGHIJKLMNOPQRST", "ABCDEFGHIJKLMNOPQRST"},
    {"Ean13", "4601234567893", "4601234567893"},
    // A scanner set up without separators
    {"NoGsMilk", gs1("215Abc!&93dGVz"), gs1("215Abc!&")},
    {"NoGsWater", gs1("215AbcdEFgh123493dGVz"), gs1("215AbcdEFgh1234")},
    {"NoGsShoesShortKey", gs1("215AbcdEFgh1234" + key44), gs1("215AbcdEFgh1234")},
    {"NoGsShoesLongKey", gs1("215AbcdEFgh1234" + key88), gs1("215AbcdEFgh1234")},
    {"NoGsTobaccoBlock", gs1("21ABCDEFG800512345693dGVz"), gs1("21ABCDEFG")},
    {"NoGsUncommonSerial", gs1("215AbcdEFg93dGVz"), gs1("215AbcdEFg")},
    {"NoGsSerialLikeATail", gs1("215AbcdEF93dGVz"), gs1("215AbcdEF93dGVz")},
};

class Code : public testing::TestWithParam<CodeCase>
{
protected:
    const QString text = QString::fromLatin1(GetParam().text);
    const MarkingCode code{text};
};

TEST_P(Code, StandsForItself)
{
    EXPECT_EQ(code.toString(), text);
    EXPECT_FALSE(code.isEmpty());
}

TEST_P(Code, EqualsItsBase64Form)
{
    const MarkingCode encoded(QString::fromLatin1(GetParam().text.toBase64()));
    EXPECT_EQ(encoded, code);
    EXPECT_EQ(encoded.toString(), text);
    EXPECT_EQ(qHash(encoded), qHash(code));
    EXPECT_EQ(encoded <=> code, std::strong_ordering::equal);
}

TEST_P(Code, LosesAScannersPrefix)
{
    for (const char* prefix : {"]d2", "]C1", "]Q3", "\x1D", "]C1\x1D"}) {
        EXPECT_EQ(MarkingCode(QString::fromLatin1(prefix) + text), code);
        EXPECT_EQ(MarkingCode(QString::fromLatin1((prefix + GetParam().text).toBase64())), code);
    }
}

TEST_P(Code, HasAnIdentifyingPart)
{
    EXPECT_EQ(code.cis(), QString::fromLatin1(GetParam().cis));
    EXPECT_EQ(MarkingCode(code.cis()).cis(), code.cis());
}

INSTANTIATE_TEST_SUITE_P(InUse, Code, testing::ValuesIn(codes),
                         [](const auto& code) { return std::string(code.param.name); });

TEST(Base64Text, StandsForItselfWhenItIsNotStrict)
{
    for (const char* text :
         {"QUJD\n", "QUJ", "QUJDRA=", "QUJDRB==", "QU=D", "QUJD=", "====", "gICA", "QUJD QUJD"}) {
        EXPECT_EQ(MarkingCode(QString::fromLatin1(text)).toString(), QString::fromLatin1(text));
    }
    EXPECT_EQ(MarkingCode(QStringLiteral("QUJD")).toString(), QStringLiteral("ABC"));
    EXPECT_EQ(MarkingCode(QStringLiteral("QUJDRA==")).toString(), QStringLiteral("ABCD"));
}

TEST(Readable, ShowsWhatCannotBeSeen)
{
    const std::pair<QString, QString> cases[] = {
        {QStringLiteral("01\x1D") + u'2', QStringLiteral("01<GS>2")},
        {QStringLiteral("a\r\n\t\u007F"), QStringLiteral("a\\u000d\\u000a\\u0009\\u007f")},
        {QStringLiteral("a\u200B\u2028\u2029\uFEFF"), QStringLiteral("a\\u200b\\u2028\\u2029\\ufeff")},
        {QStringLiteral("a") + QChar(0xD800), QStringLiteral("a\\ud800")},
        {QStringLiteral("a") + QChar(0xDC00) + u'b', QStringLiteral("a\\udc00b")},
        {QStringLiteral("код 😀 \\"), QStringLiteral("код 😀 \\")},
    };
    for (const auto& [text, readable] : cases) {
        EXPECT_EQ(MarkingCode(text).toReadable(), readable);
    }
    EXPECT_EQ(MarkingCode().toReadable(), QString());
}

TEST(Order, IsThatOfTheText)
{
    const MarkingCode a(QStringLiteral("A-1"));
    const MarkingCode b(QStringLiteral("B-1"));
    EXPECT_LT(a, b);
    EXPECT_GT(b, a);
    EXPECT_LT(MarkingCode(), a);
    EXPECT_NE(a, MarkingCode(QStringLiteral("a-1")));
    EXPECT_EQ((QSet<MarkingCode>{a, b, MarkingCode(QStringLiteral("A-1"))}.size()), 2);
    EXPECT_TRUE(MarkingCode(QString()).isEmpty());
}

}  // namespace
