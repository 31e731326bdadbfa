#pragma once

#include <algorithm>
#include <ostream>

#include <malloc.h>

#include <QDir>
#include <QFile>

/// What the process holds.
struct Footprint
{
    qint64 residentKiB = 0;
    qsizetype files = 0;
    qsizetype threads = 0;

    static Footprint now()
    {
        malloc_trim(0);
        QFile statm(QStringLiteral("/proc/self/statm"));
        (void)statm.open(QIODevice::ReadOnly);
        const auto entries = [](const char* folder) {
            return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
        };
        return {statm.readAll().split(' ').at(1).toLongLong() * 4, entries("/proc/self/fd"),
                entries("/proc/self/task")};
    }

    friend std::ostream& operator<<(std::ostream& out, const Footprint& held)
    {
        return out << held.residentKiB << " KiB, " << held.files << " open files, " << held.threads
                   << " threads";
    }
};

#ifdef __SANITIZE_THREAD__
/// ThreadSanitizer finds no names in a library that has been mapped anew, and its suppressions go by names.
inline constexpr bool keepsPluginMapped = true;
#else
inline constexpr bool keepsPluginMapped = false;
#endif

/// Whether the library's code is in the process. A sanitizer that names a place in it maps the file, too, to
/// read it, and keeps that.
inline bool isPluginLoaded()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    (void)maps.open(QIODevice::ReadOnly);
    const QList<QByteArray> lines = maps.readAll().split('\n');
    return std::ranges::any_of(lines, [](const QByteArray& line) {
        return line.contains(" r-x") && line.contains("libcrptservice");
    });
}
