#include <QStringList>

#include <gtest/gtest.h>

#include "poshost/exitstatus.h"
#include "poshost/verification.h"
#include "poshost/verifytable.h"
#include "tests/support/printers.h"
#include <orvex/econtext.h>

using Result = CheckMarkingCodesResult;
using namespace poshost;

namespace {

Verification checked(const QStringList& codes)
{
    Verification verification;
    verification.triggerResult = EContext::Done;
    for (const QString& code : codes) {
        verification.codes.append(MarkingCode(code));
    }
    verification.result.setStatus(200);
    return verification;
}

Result::CodeStatus because(Result::Status status, const QString& message = {})
{
    Result::CodeStatus failed;
    failed.status = status;
    failed.message = message;
    return failed;
}

QStringList linesOf(const Verification& verification, const TableStyle& style = {})
{
    return toTable(verification, style).split('\n');
}

}  // namespace

TEST(VerifyTable, EveryRequestedCodeHasItsLineInTheOrderAskedFor)
{
    Verification verification = checked({"-B", "-A", "-C", "-B"});
    verification.result.passedCodes = {MarkingCode("-A"), MarkingCode("-B"), MarkingCode("-X")};
    verification.result.failedCodes[MarkingCode("-B")] =
        because(Result::Sold | Result::NotOwner, "Товар\nпродан\x1b[2J");

    const QStringList lines = linesOf(verification);

    const QString refused =
        "✗ ОТКАЗ   -B  уже продан; товар числится за другим владельцем; «Товар продан\\u001b[2J»";
    EXPECT_EQ(lines.first(4), (QStringList{refused, "✓ прошёл  -A", "? нет     -C  вердикта нет", refused}));
    EXPECT_TRUE(lines.contains("Кодов 4: прошли 1, отказано 2, без вердикта 1, за 0 мс"))
        << lines.join('\n').toStdString();
    EXPECT_EQ(verification.exitStatus(), exitstatus::Bad);
}

TEST(VerifyTable, SideDataStandBesideTheCode)
{
    Verification verification = checked({"-A"});
    const MarkingCode code("-A");
    verification.result.passedCodes = {code};
    verification.result.expireDates[code] = QDateTime();
    verification.result.productWeights[code] = 1250;
    verification.result.mrps[code] = {3, 21900};

    EXPECT_EQ(linesOf(verification).first(),
              "✓ прошёл  -A  срок годности не указан, вес 1250, МРЦ 21900 (группа 3)");
    EXPECT_EQ(verification.exitStatus(), exitstatus::Good);
}

TEST(VerifyTable, CodesAreShortenedOnlyToFitATerminal)
{
    const QString code = "-" + QString(200, 'x') + "end";
    Verification verification = checked({code});
    verification.result.passedCodes = {MarkingCode(code)};

    EXPECT_TRUE(linesOf(verification).first().endsWith(code));
    const QString shortened = linesOf(verification, {true, 80}).first();
    EXPECT_TRUE(shortened.startsWith("\x1b[32m✓ прошёл")) << shortened.toStdString();
    EXPECT_TRUE(shortened.contains(u'…') && shortened.endsWith("end")) << shortened.toStdString();
    EXPECT_LE(shortened.size() - QString("\x1b[32m\x1b[0m").size(), 80);
}

TEST(VerifyTable, StandingNoticesAreShownWithdrawnOnesAreNot)
{
    Verification verification = checked({});
    verification.notifications = {{"Crpt", "a", "Первое"}, {"Lmchz", "b", "Модуль"}, {"Crpt", "", ""}};

    const QString table = toTable(verification, {});
    EXPECT_TRUE(table.contains("Сообщение кассиру: Модуль\n"));
    EXPECT_FALSE(table.contains("Первое"));
}

TEST(Verification, SourceIsToldByWhatTheResultCarries)
{
    const auto sourceOf = [](auto&& change) {
        Verification verification = checked({"-A"});
        verification.result.setStatus(0);
        change(verification.result);
        return verification.source();
    };
    EXPECT_EQ(sourceOf([](Result&) {}), Source::Offline);
    EXPECT_EQ(sourceOf([](Result& r) { r.failedCodes[MarkingCode("-A")] = because(Result::Blocked); }),
              Source::Offline);
    EXPECT_EQ(sourceOf([](Result& r) { r.setStatus(200); }), Source::Online);
    EXPECT_EQ(sourceOf([](Result& r) { r.setUrl(QUrl("http://site.example")); }), Source::Online);
    EXPECT_EQ(sourceOf([](Result& r) { r.setErrorKind(http::ErrorKind::SalePermitted); }), Source::Online);
    EXPECT_EQ(sourceOf([](Result& r) { r.failedCodes[MarkingCode("-A")] = because(Result::NotInReply); }),
              Source::Online);

    Verification refused = checked({"-A"});
    refused.triggerResult = EContext::NotServed;
    EXPECT_EQ(refused.source(), Source::Nowhere);
    EXPECT_EQ(refused.exitStatus(), exitstatus::NotServed);
}
