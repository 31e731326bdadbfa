#include "poshost/doctor/examination.h"

#include <cerrno>

#include <unistd.h>

#include <QFileInfo>
#include <QRegularExpression>

#include "poshost/language.h"
#include "poshost/settings/knownkeys.h"

namespace poshost {

namespace {

void checkPermissions(Report& report)
{
    const QString file = report.settingsFile;
    const QFile::Permissions permissions = QFileInfo(file).permissions();
    const QString advice = QStringLiteral("chmod 600 %1").arg(file);
    if (permissions.testFlag(QFile::WriteOther)) {
        report.add(Level::Bad, Area::Settings, "file-writable", file,
                   said({u"other users can change the file", u"файл могут изменить другие пользователи"}),
                   advice);
    } else if (permissions.testFlag(QFile::ReadOther)) {
        report.add(Level::Note, Area::Settings, "file-readable", file,
                   said({u"other users can read the file with the keys",
                         u"файл с ключами могут прочитать другие пользователи"}),
                   advice);
    }
}

void checkRepetitions(const Examined& examined)
{
    const Config& config = examined.config;
    const auto judge = [&](const QString& section, const QString& key, Level level, const QString& outcome) {
        QStringList numbers;
        for (const int line : config.lines(section, key)) {
            numbers.append(QString::number(line));
        }
        if (numbers.size() > 1) {
            examined.add(
                level, Area::Settings, "repeated", section, key,
                said({u"lines %1: %2", u"строки %1: %2"}).arg(numbers.join(QLatin1String(", ")), outcome),
                said({u"keep one", u"оставьте одну"}));
        }
    };
    for (const QString& section : config.sections()) {
        judge(section, {}, Level::Note,
              said({u"the section is written in parts", u"секция записана по частям"}));
        for (const QString& key : config.keys(section)) {
            judge(section, key, Level::Bad, said({u"the last one counts", u"действует последняя"}));
        }
    }
}

}  // namespace

void Examined::add(Level level, Area area, const char* id, const QString& section, const QString& key,
                   const QString& text, const QString& advice) const
{
    const QString subject = u'[' + section + u']' + (key.isEmpty() ? QString() : u' ' + key);
    const QList<int> lines = config.lines(section, key) + config.lines(section);
    report.add(level, area, id, subject, text, advice, lines.value(0));
}

void Examined::bad(Area area, const char* id, const QString& section, const char* key, const QString& text,
                   const QString& advice) const
{
    add(Level::Bad, area, id, section, QLatin1String(key), text, advice);
}

void Examined::note(Area area, const char* id, const QString& section, const char* key,
                    const QString& text) const
{
    add(Level::Note, area, id, section, QLatin1String(key), text);
}

QString Examined::value(const QString& section, const char* key) const
{
    const QString name = QLatin1String(key);
    return config.getString(section + u':' + name, knownKey(section, name)->fallback);
}

int Examined::number(const QString& section, const char* key) const
{
    const QString name = QLatin1String(key);
    return config.getInt(section + u':' + name, knownKey(section, name)->fallback.toInt());
}

bool readSettings(const QString& file, Config& config, Report& report)
{
    report.settingsFile = file;
    const QFileInfo info(file);
    report.isFileMissing = !info.isFile() || !info.isReadable();
    if (report.isFileMissing && ::access(QFile::encodeName(file).constData(), R_OK) != 0 && errno == EACCES) {
        report.add(Level::Bad, Area::Settings, "unreadable-file", file,
                   said({u"this user may not read the file", u"этому пользователю читать файл не разрешено"}),
                   said({u"run poshost as the till's user, or with sudo",
                         u"запустите poshost от имени пользователя кассы или через sudo"}));
        return false;
    }
    if (report.isFileMissing) {
        report.add(Level::Bad, Area::Settings, "missing-file", file,
                   said({u"there is no such file", u"нет такого файла"}),
                   said({u"name another file", u"назовите другой файл"}));
        return false;
    }
    QString error;
    if (config.load(file, &error)) {
        return true;
    }
    static const QRegularExpression place(QStringLiteral("^:([0-9]+): "));
    const auto found = place.match(error.mid(file.size()));
    report.add(Level::Bad, Area::Settings, "broken-file", file,
               error.mid(file.size() + found.capturedLength()),
               said({u"correct this line; the rest is looked at after that",
                     u"исправьте эту строку; остальное проверяется после этого"}),
               found.captured(1).toInt());
    return false;
}

void checkSettings(const Examined& examined)
{
    checkNamesAndValues(examined);
    describeModules(examined);
    checkRules(examined);
    checkModuleRules(examined);
    if (!examined.report.settingsFile.isEmpty()) {
        checkPermissions(examined.report);
        checkRepetitions(examined);
    }
}

}  // namespace poshost
