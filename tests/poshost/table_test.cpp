#include <QStringList>

#include <gtest/gtest.h>

#include "poshost/exitstatus.h"
#include "poshost/verification.h"
#include "poshost/verifytable.h"
#include "tests/support/printers.h"
#include <orvex/econtext.h>

using namespace poshost;

namespace {

Verification checked(const QStringList& codes)
{
    Verification verification;
    verification.triggerResult = EContext::Done;
    for (const QString& code : codes) {
        verification.codes.append(MarkingCode(code));
    }
    return verification;
}

}  // namespace

TEST(VerifyTable, EveryRequestedCodeHasItsLineInTheOrderAskedFor)
{
    Verification verification = checked({"-B", "-A", "-C", "-B"});
    CheckMarkingCodesResult& result = verification.result;
    result.passedCodes = {MarkingCode("-A"), MarkingCode("-B"), MarkingCode("-X")};
    result.failedCodes[MarkingCode("-B")].status =
        CheckMarkingCodesResult::Sold | CheckMarkingCodesResult::NotOwner;
    result.failedCodes[MarkingCode("-B")].message = "Товар\nпродан\x1b[2J";
    result.expireDates[MarkingCode("-A")] = QDateTime();
    result.productWeights[MarkingCode("-A")] = 1250;
    result.mrps[MarkingCode("-A")] = {3, 21900};
    verification.notifications = {{"Crpt", "a", "Первое"}, {"Lmchz", "b", "Модуль"}, {"Crpt", "", ""}};

    const QString refused =
        "✗ ОТКАЗ   -B  уже продан; товар числится за другим владельцем; «Товар продан\\u001b[2J»\n";
    EXPECT_EQ(toTable(verification, {}),
              refused +
                  "✓ прошёл  -A  срок годности не указан, вес 1250, МРЦ 21900 (группа 3)\n"
                  "? нет     -C  вердикта нет\n" +
                  refused +
                  "\n"
                  "Кодов 4: прошли 1, отказано 2, без вердикта 1, за 0 мс\n"
                  "Источник: локальный модуль (offline)\n"
                  "Сообщение кассиру: Модуль\n");
    EXPECT_EQ(verification.exitStatus(), exitstatus::Bad);
}

TEST(VerifyTable, CodesAreShortenedOnlyToFitATerminal)
{
    const QString code = "-" + QString(200, 'x') + "end";
    Verification verification = checked({code});
    verification.result.passedCodes = {MarkingCode(code)};

    EXPECT_TRUE(toTable(verification, {}).section('\n', 0, 0).endsWith(code));
    const QString shortened = toTable(verification, {true, 80}).section('\n', 0, 0);
    EXPECT_TRUE(shortened.startsWith("\x1b[32m✓ прошёл")) << shortened.toStdString();
    EXPECT_TRUE(shortened.contains(u'…') && shortened.endsWith("end")) << shortened.toStdString();
    EXPECT_LE(shortened.size() - QString("\x1b[32m\x1b[0m").size(), 80);
}
