#include <QDir>

#include "tests/poshost/poshostrun.h"

namespace {

/// One line on standard error, nothing on standard output, status 2, nothing left behind.
void expectRefused(const QStringList& arguments, const QByteArray& complaint, const QByteArray& input = {})
{
    SCOPED_TRACE(arguments.join(' ').toStdString() + " < " + input.toStdString());
    const ProcessOutcome run = poshost(arguments, input);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.startsWith("poshost: ")) << run.errors.toStdString();
    EXPECT_EQ(run.errors.count('\n'), 1) << run.errors.toStdString();
    EXPECT_TRUE(run.errors.contains(complaint)) << run.errors.toStdString();
}

TEST(BadInput, CommandLineAndCodesAreRefusedWithOneLine)
{
    const QStringList fromInput = {"verify", "--codes-file", "-"};
    const QByteArray tooMany = QByteArray("C\n").repeated(10'001);
    struct Call
    {
        QStringList arguments;
        const char* complaint;
        const char* input = "";
    };
    const Call calls[] = {
        {{"sell", "C"}, "\"sell\" is neither a command nor an option"},
        {{"ping", "--", "C"}, "only the codes of verify can follow \"--\""},
        {{"event", "--", "96"}, "only the codes of verify can follow \"--\""},
        {{"verify", "--request-timeout", "86401", "C"}, "--request-timeout"},
        {{"--stand", "verify", "--service", "crpt2", "C"}, "service \"crpt2\""},
        {{"verify", "C"}, "no settings found; name a file with --config, or use the test stand with --stand"},
        {{"ping"}, "no settings found"},
        {{"verify", "-x", "C"}, "not expected: -x"},
        {{"verify", "++"}, "behind \"--\""},
        {{"--color", "blue", "ping"}, "--color"},
        {{"ping", "--lang", "de"}, "--lang: de not in {en,ru}"},
        {fromInput, "10001 codes; one check may hold 10000", tooMany.constData()},
        {{"--stand", "--log-level", "loud", "verify", "C"}, "log level \"loud\""},
        {{"--scenario", "sunshine", "verify"}, "no scenario \"sunshine\""},
        {{"--config", "", "verify", "C"}, "--config: must not be empty"},
        {{"--config", "/", "verify", "C"}, "settings: /: "},
        {{"--stand", "--plugin", FOREIGN_PLUGIN, "verify", "C"}, "\"AnotherService\""},
        {{"verify", "C", ""}, "code 2: the code is empty"},
        {{"verify", QString(4097, 'x')}, "4097 characters"},
        {{"verify", "СОМ"}, "code 1: the code holds characters that no marking code has"},
        {{"verify", "--codes-file", "/nowhere.txt"}, "/nowhere.txt"},
        {fromInput, "input:2: the code holds characters that no marking code has", "A\n\xff\n"},
        {fromInput, "standard input:2: the line is blank", "A\n\n"},
        {fromInput, "standard input:2: the line is blank", "A\r\n\r\n"},
        {fromInput, "holds no codes"},
        {{"--stand", "verify", "C", "--key-file", "-"}, "standard input: must hold one line", "a\nb"},
        {{"--stand", "verify", "C", "--key-file", "/dev/zero"}, "shorter file with --key-file"},
        {{"--stand", "doctor", "--offline", SOURCE_FOLDER "/docs/till.ini"}, "leave out --stand"},
    };
    for (const Call& call : calls) {
        expectRefused(call.arguments, call.complaint, call.input);
    }
}

TEST(BadInput, SettingsAreRefusedBeforeAnythingIsMade)
{
    const QTemporaryDir folder;
    const QByteArray log = "[Log]\nfile = " + folder.path().toUtf8();
    const std::pair<QByteArray, const char*> settings[] = {
        {"[Host]\nneither key nor section\n", "till.ini:2: must be a [section], a comment"},
        {log + "/till.log\n[Host]\nhosts = ok.example, ftp://a.example\n", "\"ftp://a.example\""},
        {log + "/till.log\n[Host]\nplugin = /nowhere.so\n", "plug-in /nowhere.so: no such plug-in file"},
        {log + "/new/till.log\n", "/new/till.log: No such file or directory"},
        {"[LMCHZ1]\nenable = true\nurl = 127.0.0.1:5995\n", "[LMCHZ1] url: \"127.0.0.1:5995\" is no http"},
        {"[Host]\nrequestTimeout = 5s\n", "[Host] requestTimeout = 5s"},
        {"[Network]\ncaFile = " PLUGIN_PATH "\n", "no certificates in PEM; name a PEM file or leave it out"},
        {"[Network]\nproxy = http://\n", "[Network] proxy"},
        {"[Network]\nproxy = ::1\n", "[Network] proxy"},
        {"[Network]\nmaxReplyBytes = 0\n", "[Network] maxReplyBytes"},
    };
    for (const auto& [content, complaint] : settings) {
        const SettingsFile file(content);
        expectRefused({"--config", file.path(), "verify", "C"}, complaint);
    }
    EXPECT_TRUE(QDir(folder.path()).isEmpty());
}

}  // namespace
