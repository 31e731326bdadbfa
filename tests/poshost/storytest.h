#pragma once

#include "tests/poshost/poshostrun.h"

inline const QString code = "RU-401301-AAA0277031";

inline QList<QByteArray> linesOf(const QByteArray& text)
{
    QList<QByteArray> lines = text.split('\n');
    lines.removeAll({});
    return lines;
}

/// Logs that real checks have written.
class Story : public testing::Test
{
protected:
    [[nodiscard]] QString path(const QString& name) const { return mFolder.filePath(name); }

    void write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }

    [[nodiscard]] QByteArray content(const QString& name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    /// Has a scenario's check written to the log of that name, and returns what it printed.
    QJsonObject check(const QString& scenario, const QString& log, const QByteArray& level = "debug") const
    {
        write("till.ini", "[MarkedGoods]\nmarkverifycrptservice = crpt\n[Log]\nlevel = " + level +
                              "\nfile = " + path(log).toUtf8() + '\n');
        return onlyObject(poshost({"--config", path("till.ini"), "--scenario", scenario, "verify",
                                   "--explain", "--json", "--request-timeout", "1", code})
                              .output);
    }

    [[nodiscard]] ProcessOutcome story(const QStringList& arguments, const QByteArray& input = {}) const
    {
        return runProcess("env", QStringList{"-C", mFolder.path(), POSHOST_PATH, "story"} + arguments, input,
                          cleanEnvironment());
    }

    const QTemporaryDir mFolder;
};
