#include "tests/poshost/poshostrun.h"

namespace {

const QStringList verify = {"--scenario", "overload", "--log-level", "off", "verify", "RU-401301-AAA0277031"};
const QStringList cashier = {"--scenario", "overload", "cashier"};

ProcessOutcome runIn(const QStringList& locale, const QStringList& arguments, const QByteArray& input = {})
{
    return runProcess(POSHOST_PATH, arguments, input, cleanEnvironment() + QStringList{"LC_ALL="} + locale);
}

}  // namespace

TEST(Language, IsThatOfTheOptionElseThatOfTheLocale)
{
    struct Case
    {
        QStringList locale;
        QStringList arguments;
        QByteArrayList texts;
    };
    const QStringList english = {"LC_MESSAGES=en_GB.UTF-8", "LANG=ru_RU.UTF-8"};
    const QByteArrayList inRussian = {"СТЕНД: отвечает", "! БЕЗ ПРОВЕРКИ", "без проверки 1"};
    const QByteArrayList promised = {"СТЕНД: the test stand", "! БЕЗ ПРОВЕРКИ", "without a check 1"};
    const QByteArrayList inEnglish = {"STAND: the test stand", "! NO CHECK", "without a check 1"};
    const Case cases[] = {
        {{"LANG=ru_RU.KOI8-R"}, verify, inRussian},
        {{"LC_ALL=ru"}, verify, inRussian},
        {{"LC_ALL=C.UTF-8", "LANG=en_US.UTF-8"}, verify, inRussian},
        {{"LC_MESSAGES=", "LANG="}, verify, inRussian},
        {{"LC_ALL=run_BI", "LANG=ru_RU"}, verify, promised},
        {english, verify, promised},
        {english, QStringList{"--lang", "ru"} + verify, inRussian},
        {{"LANG=ru_RU.UTF-8"}, verify + QStringList{"--lang", "en"}, inEnglish},
        {english, cashier, {"СТЕНД: the test stand", "! БЕЗ ПРОВЕРКИ: sale permitted", "In the basket: 1"}},
        {{"LANG=ru_RU.UTF-8"}, cashier + QStringList{"--lang", "en"}, {"! NO CHECK: sale permitted"}},
    };
    for (const Case& each : cases) {
        const ProcessOutcome run = runIn(each.locale, each.arguments, "RU-401301-AAA0277031\n");
        for (const QByteArray& text : each.texts) {
            EXPECT_TRUE(run.output.contains(text))
                << each.locale.join(' ').toStdString() << ", " << text.data() << " is not in\n"
                << run.output.data();
        }
        EXPECT_EQ(run.exitStatus, 5);
    }
}

TEST(Language, OfFindingsIsTheSame)
{
    const SettingsFile settings("[MarkedGoods]\n[Host]\nkeys = key-number-one\nrequestTimeout = soon\n");
    const QStringList doctor = {"doctor", "--offline", settings.path(), "--lang"};
    const QByteArray russian = runIn({}, doctor + QStringList{"ru"}).output;
    EXPECT_TRUE(russian.contains(":4: [Host] requestTimeout: «soon»: не целое число; poshost с таким"))
        << russian.data();
    EXPECT_TRUE(russian.contains("нет ни одного сервера оператора; впишите адрес")) << russian.data();
    const QByteArray english = runIn({}, doctor + QStringList{"en"}).output;
    EXPECT_TRUE(
        english.contains(":4: [Host] requestTimeout: \"soon\": no whole number; poshost does not start"))
        << english.data();
    EXPECT_TRUE(english.contains("no server of the operator; write the address")) << english.data();
}

TEST(Language, ChangesNoJson)
{
    const SettingsFile settings("[MarkedGoods]\n[Host]\nkeyz = key-number-one\n");
    const QStringList doctor = {"doctor", "--offline", settings.path(), "--json", "--lang"};
    const QByteArray english = runIn({"LC_ALL=en_US.UTF-8"}, doctor + QStringList{"en"}).output;
    EXPECT_EQ(english, runIn({}, doctor + QStringList{"ru"}).output);
    EXPECT_TRUE(english.contains("такого ключа никто не читает")) << english.data();
}
