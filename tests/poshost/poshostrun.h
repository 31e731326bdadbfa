#pragma once

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "tests/support/marksim.h"
#include "tests/support/printers.h"

/// Environment of a poshost that finds no settings of this machine's user, and no language or colours.
[[nodiscard]] QStringList cleanEnvironment();

/// Runs poshost to its end.
[[nodiscard]] ProcessOutcome poshost(const QStringList& arguments, const QByteArray& input = {});

/// The one JSON object that is all of `output`; fails the test when it is anything else.
[[nodiscard]] QJsonObject onlyObject(const QByteArray& output);

/// Settings for the operators and the modules of a stand.
[[nodiscard]] QByteArray settingsFor(const MarkSim& stand);

/// A settings file of its own.
class SettingsFile
{
public:
    explicit SettingsFile(const QByteArray& content);

    [[nodiscard]] QString path() const { return m_folder.filePath(QStringLiteral("till.ini")); }

private:
    QTemporaryDir m_folder;
};
