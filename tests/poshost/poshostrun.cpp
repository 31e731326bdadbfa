#include "tests/poshost/poshostrun.h"

#include <stdexcept>

QStringList cleanEnvironment()
{
    static const QTemporaryDir home;
    return {"XDG_CONFIG_HOME=" + home.path(), "XDG_CONFIG_DIRS=" + home.path(), "NO_COLOR=1",
            "LC_ALL=C.UTF-8"};
}

ProcessOutcome poshost(const QStringList& arguments, const QByteArray& input)
{
    return runProcess(POSHOST_PATH, arguments, input, cleanEnvironment());
}

QJsonObject onlyObject(const QByteArray& output)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(output, &error);
    EXPECT_TRUE(document.isObject()) << error.errorString().toStdString() << " in " << output.toStdString();
    return document.object();
}

SettingsFile::SettingsFile(const QByteArray& content)
{
    QFile file(path());
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        throw std::runtime_error("cannot write the settings");
    }
}

QByteArray settingsFor(const MarkSim& stand)
{
    QByteArray settings = "[MarkedGoods]\nmarkverifycrptservice = crpt\n[Host]\nhosts = " +
                          stand.operatorUrls().join(',').toUtf8() + "\nkeys = " + stand.key().toUtf8() + "\n";
    const QJsonArray modules = stand.ready()["modules"].toArray();
    for (qsizetype i = 0; i < modules.size(); ++i) {
        settings += "[LMCHZ" + QByteArray::number(i + 1) + "]\nenable = true\nmaintain = true\n";
        for (const char* key : {"url", "user", "password", "token"}) {
            settings += QByteArray(key) + " = " + modules[i][QLatin1String(key)].toString().toUtf8() + '\n';
        }
    }
    return settings;
}
