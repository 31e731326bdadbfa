#include <unistd.h>

#include <QRegularExpression>

#include "tests/poshost/poshostrun.h"

namespace {

/// poshost without the right of root to read everything.
ProcessOutcome asPlainUser(const QStringList& arguments)
{
    const QString rights = "-dac_override,-dac_read_search";
    const QStringList drop = {"setpriv", "--bounding-set", rights, "--inh-caps", rights};
    const QStringList command = (::geteuid() == 0 ? drop : QStringList{"env"}) + QStringList{POSHOST_PATH};
    return runProcess(command.first(), command.sliced(1) + arguments, {}, cleanEnvironment());
}

TEST(DoctorAdvice, TellsAFileThatMayNotBeReadFromOneThatIsMissing)
{
    const SettingsFile file("[MarkedGoods]\n");
    QFile::setPermissions(file.path(), QFile::Permissions());
    for (const QStringList& arguments : {QStringList{"--config", file.path(), "doctor", "--json"},
                                         QStringList{"doctor", "--offline", file.path(), "--json"}}) {
        const ProcessOutcome run = asPlainUser(arguments);
        EXPECT_EQ(run.exitStatus, arguments.contains("--offline") ? 1 : 2);
        const QJsonValue finding = onlyObject(run.output)["findings"][0];
        EXPECT_EQ(finding["id"], "unreadable-file");
        EXPECT_TRUE(finding["advice"].toString().contains("sudo")) << run.output.data();
    }
}

TEST(DoctorAdvice, NamesTheExamplesOfTheSettingsAsShippedLineByLine)
{
    const QString file = SOURCE_FOLDER "/docs/till.ini";
    const ProcessOutcome run = poshost({"doctor", "--offline", file, "--lang", "en"});
    EXPECT_EQ(run.exitStatus, 0) << run.output.data();
    int last = 0;
    for (const QByteArray& line : run.output.trimmed().split('\n')) {
        EXPECT_EQ(line.count(file.toUtf8()), line.contains("chmod") ? 2 : 1) << line.data();
        const int number = line.mid(file.toUtf8().size() + 1).split(':')[0].toInt();
        EXPECT_GE(number, last) << run.output.data();
        last = number;
    }
    EXPECT_TRUE(run.output.contains(": note: [Host] hosts: markirovka.example is an example"))
        << run.output.data();
    EXPECT_TRUE(run.output.contains(": note: [Host] keys: the key of zeros is an example"))
        << run.output.data();
}

}  // namespace
