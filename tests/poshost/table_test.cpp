#include <QStringList>

#include <gtest/gtest.h>

#include "poshost/reports/table.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/till/verification.h"
#include "tests/support/printers.h"
#include <orvex/econtext.h>

using namespace poshost;

TEST(VerifyTable, EveryRequestedCodeHasItsLineInTheOrderAskedFor)
{
    Verification verification;
    verification.triggerResult = EContext::Done;
    verification.codes = {MarkingCode("-B"), MarkingCode("-A"), MarkingCode("-C"), MarkingCode("-B")};
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

TEST(VerifyTable, SaysThatItShortensCodes)
{
    Verification verification;
    verification.triggerResult = EContext::Done;
    for (const auto& [code, isShortened] :
         {std::pair("0104607026010011215rhTuv", false), {"0104602114050023215Hlpa+Bq/Cefu", true}}) {
        verification.codes = {MarkingCode(code)};
        verification.result.passedCodes = verification.codes;
        const QString table = toTable(verification, {.width = 30});
        EXPECT_EQ(table.contains(code), !isShortened) << table.toStdString();
        EXPECT_EQ(table.contains("целиком их покажут --json"), isShortened) << table.toStdString();
    }
}

TEST(Report, IsBrokenBetweenWordsOnly)
{
    const std::pair<const char*, const char*> cases[] = {
        {"fits in twenty col's\n", "fits in twenty col's\n"},
        {"не входит в двадцать\u00a0столбцов", "не входит в\n    двадцать\u00a0столбцов"},
        {"  kept:  two  blanks  here", "  kept:  two  blanks\n      here"},
        {"1. 0104602114050023215Hlpa+Bq/Cefu (sold)", "1. 0104602114050023215Hlpa+Bq/Cefu\n    (sold)"},
        {"\x1b[1;31m✗ ОТКАЗ   \x1b[0m-B  продан", "\x1b[1;31m✗ ОТКАЗ   \x1b[0m-B  продан"},
        {"в конце пробелы:             ", "в конце пробелы:"},
    };
    for (const auto& [text, wanted] : cases) {
        EXPECT_EQ(fitted(text, 20), wanted);
        EXPECT_EQ(fitted(text, 0), text);
    }
}
