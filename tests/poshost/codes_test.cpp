#include <gtest/gtest.h>

#include "poshost/checkcodes.h"
#include "poshost/failure.h"
#include "tests/support/printers.h"

using poshost::codesOfLines;
using poshost::readCodes;

TEST(CheckCodes, EveryWayOfWritingGsMeansIt)
{
    const QString meant = "0104600439931256215Qbag!\x1d"
                          "93Zjqw";
    for (const char* typed :
         {R"(0104600439931256215Qbag!\x1d93Zjqw)", R"(0104600439931256215Qbag!\x1D93Zjqw)",
          R"(0104600439931256215Qbag!\u001d93Zjqw)", R"(0104600439931256215Qbag!\u001D93Zjqw)",
          "0104600439931256215Qbag!<GS>93Zjqw",
          "0104600439931256215Qbag!\x1d"
          "93Zjqw"}) {
        const QList<MarkingCode> codes = readCodes({typed}, {});
        ASSERT_EQ(codes.size(), 1);
        EXPECT_EQ(codes[0].toString(), meant) << typed;
    }
    EXPECT_EQ(readCodes({"<gs>"}, {})[0].toString(), "<gs>");
}

TEST(CheckCodes, LimitIsThatOfTheCodeNotOfItsSpelling)
{
    EXPECT_EQ(readCodes({QByteArray(4095, 'x') + "<GS>"}, {}).size(), 1);
    EXPECT_EQ(readCodes({QByteArrayLiteral("я").repeated(4096)}, {}).size(), 1);
    EXPECT_THROW((void)readCodes({QByteArray(4097, 'x')}, {}), poshost::Failure);
}

TEST(CheckCodes, LastLineNeedsNoLineFeed)
{
    EXPECT_EQ(codesOfLines("A\nB", "file"), codesOfLines("A\nB\n", "file"));
    EXPECT_EQ(codesOfLines(" A ", "file")[0].toString(), " A ");
}
