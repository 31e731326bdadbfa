#include <gtest/gtest.h>

#include "poshost/checkcodes.h"
#include "poshost/failure.h"
#include "tests/support/printers.h"

using poshost::codesOfLines;
using poshost::readCodes;

TEST(CheckCodes, EveryWayOfWritingGsMeansIt)
{
    const QByteArray front = "0104600439931256215Qbag!";
    const QByteArray back = "93Zjqw";
    for (const char* gs : {R"(\x1d)", R"(\x1D)", R"(\u001d)", R"(\u001D)", "<GS>", "\x1d"}) {
        const QList<MarkingCode> codes = readCodes({front + gs + back}, {});
        ASSERT_EQ(codes.size(), 1);
        EXPECT_EQ(codes[0].toString(), QString(front + '\x1d' + back)) << gs;
    }
    EXPECT_EQ(readCodes({"<gs>"}, {})[0].toString(), "<gs>");
}

TEST(CheckCodes, LimitIsThatOfTheCodeNotOfItsSpelling)
{
    EXPECT_EQ(readCodes({QByteArray(4095, 'x') + "<GS>"}, {}).size(), 1);
    EXPECT_THROW((void)readCodes({QByteArray(4097, 'x')}, {}), poshost::Failure);
}

TEST(CheckCodes, LastLineNeedsNoLineFeed)
{
    EXPECT_EQ(codesOfLines("A\nB", "file"), codesOfLines("A\nB\n", "file"));
    EXPECT_EQ(codesOfLines(" A ", "file")[0].toString(), " A ");
}
