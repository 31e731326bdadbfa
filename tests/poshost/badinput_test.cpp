#include <gtest/gtest.h>

#include "tests/poshost/poshostrun.h"

namespace {

struct BadCall
{
    const char* name;
    QStringList arguments;
    const char* complaint;  ///< part of the one line
    QByteArray input = {};
};

void PrintTo(const BadCall& call, std::ostream* out)
{
    *out << call.name;
}

/// One line on standard error, nothing on standard output, status 2, nothing left behind.
void expectRefused(const ProcessOutcome& run, const QByteArray& complaint)
{
    EXPECT_TRUE(run.ended);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.startsWith("poshost: ")) << run.errors.toStdString();
    EXPECT_EQ(run.errors.count('\n'), 1) << run.errors.toStdString();
    EXPECT_TRUE(run.errors.contains(complaint)) << run.errors.toStdString();
    EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
}

class BadCallIsRefused : public testing::TestWithParam<BadCall>
{
};

TEST_P(BadCallIsRefused, WithOneLine)
{
    const BadCall& call = GetParam();
    expectRefused(poshost(call.arguments, call.input), call.complaint);
}

QStringList fromInput()
{
    return {"--stand", "verify", "--codes-file", "-"};
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, BadCallIsRefused,
    testing::Values(
        BadCall{"nothing", {}, "subcommand is required"},
        BadCall{"unknownFlag", {"verify", "--colour", "C"}, "--colour"},
        BadCall{"unknownVerb", {"sell", "C"}, "\"sell\" is neither a command nor an option"},
        BadCall{"timeTooLong", {"verify", "--request-timeout", "86401", "C"}, "--request-timeout"},
        BadCall{"negativeTime", {"verify", "--operation-timeout", "-1", "C"}, "--operation-timeout"},
        BadCall{"noTime", {"verify", "--operation-timeout", "soon", "C"}, "--operation-timeout"},
        BadCall{"unknownService", {"--stand", "verify", "--service", "crpt2", "C"}, "service \"crpt2\""},
        BadCall{"unknownLevel", {"--stand", "--log-level", "loud", "verify", "C"}, "log level \"loud\""},
        BadCall{"unknownScenario", {"--scenario", "sunshine", "verify"}, "no scenario \"sunshine\""},
        BadCall{"eventOutOfRange", {"--stand", "event", "65536"}, "65536"},
        BadCall{"noConfig", {"--config", "/nowhere/till.ini", "verify", "C"}, "/nowhere/till.ini"},
        BadCall{"noPlugin", {"--stand", "--plugin", "/nowhere.so", "verify", "C"}, "no such plug-in file"},
        BadCall{"textForPlugin",
                {"--stand", "--plugin", QString(SOURCE_FOLDER) + "/dev", "verify", "C"},
                "not a plug-in"},
        BadCall{
            "foreignPlugin", {"--stand", "--plugin", FOREIGN_PLUGIN, "verify", "C"}, "\"AnotherService\""},
        BadCall{"disabledPlugin", {"--stand", "--plugin", DISABLED_PLUGIN, "verify", "C"}, "disabled"}),
    [](const auto& call) { return call.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Codes, BadCallIsRefused,
    testing::Values(
        BadCall{"emptyCode", {"--stand", "verify", "C", ""}, "code 2: the code is empty"},
        BadCall{"onlySeparators", {"--stand", "verify", R"(<GS>\x1d)"}, "code 1: the code is empty"},
        BadCall{"longCode", {"--stand", "verify", QString(4097, 'x')}, "4097 characters"},
        BadCall{"notUtf8", fromInput(), "standard input:2: the code holds characters that no", "A\n\xff\n"},
        BadCall{"cyrillic", {"--stand", "verify", "СОМ"}, "code 1: the code holds characters that no"},
        BadCall{"control", {"--stand", "verify", "C", "A\tB"}, "code 2: the code holds characters that no"},
        BadCall{"blankLine", fromInput(), "standard input:2: the line is blank", "A\n \nB\n"},
        BadCall{"blankLastLine", fromInput(), "standard input:2: the line is blank", "A\n\n"},
        BadCall{"carriageReturn", fromInput(), "standard input:1: the line holds a carriage return", "A\r\n"},
        BadCall{"emptyInput", fromInput(), "holds no codes", ""},
        BadCall{"noFile", {"--stand", "verify", "--codes-file", "/nowhere.txt"}, "/nowhere.txt"},
        BadCall{"folderForFile", {"--stand", "verify", "--codes-file", "/"}, "cannot read the codes"}),
    [](const auto& call) { return call.param.name; });

struct BadSettings
{
    const char* name;
    QByteArray content;
    const char* complaint;
};

void PrintTo(const BadSettings& settings, std::ostream* out)
{
    *out << settings.name;
}

class BadSettingsAreRefused : public testing::TestWithParam<BadSettings>
{
};

TEST_P(BadSettingsAreRefused, WithOneLine)
{
    const SettingsFile file(GetParam().content);
    expectRefused(poshost({"--config", file.path(), "verify", "C"}), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, BadSettingsAreRefused,
    testing::Values(BadSettings{"noIni", "[Host]\nneither key nor section\n", "till.ini"},
                    BadSettings{"blankInHost", "[Host]\nhosts = http://a b\n", "\"http://a b\""},
                    BadSettings{"otherScheme", "[Host]\nhosts = ok.example, ftp://a.example\n",
                                "ftp://a.example"},
                    BadSettings{"fileForHost", "[Host]\nhosts = /etc/passwd\n", "/etc/passwd"},
                    BadSettings{"timeout", "[Host]\nrequestTimeout = 5s\n", "[Host] requestTimeout = 5s"},
                    BadSettings{"service", "[Host]\nservice = other\n", "service \"other\""},
                    BadSettings{"caFile", "[Network]\ncaFile = /nowhere.pem\n", "[Network] caFile"},
                    BadSettings{"proxy", "[Network]\nproxy = http://\n", "[Network] proxy"},
                    BadSettings{"maxReplyBytes", "[Network]\nmaxReplyBytes = 0\n", "[Network] maxReplyBytes"},
                    BadSettings{"logFile", "[Log]\nfile = /dev/null/till.log\n", "/dev/null/till.log"},
                    BadSettings{"plugin", "[Host]\nplugin = /nowhere.so\n", "plug-in"}),
    [](const auto& settings) { return settings.param.name; });

TEST(BadInput, SettingsWithoutCodesAndWithoutStandAreRefused)
{
    const SettingsFile file("[Host]\nhosts = localhost\nkeys = k\n");
    expectRefused(poshost({"--config", file.path(), "verify"}), "no codes");
}

TEST(BadInput, SettingsThatAreNotReadableAreRefused)
{
    expectRefused(poshost({"--config", "/", "verify", "C"}), "/");
}

}  // namespace
