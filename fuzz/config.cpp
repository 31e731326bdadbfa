// Configuration files: what is read of them, by the settings and by the host that asks for them.

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/fuzz.h"
#include "poshost/settings/hostsettings.h"
#include "poshost/terminal/fatalerror.h"
#include <config/config.h>

using fuzz::require;

namespace {

/// Loads `text` by way of a file that is in no folder.
bool load(Config& config, const QByteArray& text, QString* error)
{
    static const int file = memfd_create("config", MFD_CLOEXEC);
    require(ftruncate(file, 0) == 0 && pwrite(file, text.constData(), size_t(text.size()), 0) == text.size(),
            "the file can be written");
    return config.load(QStringLiteral("/proc/self/fd/%1").arg(file), error);
}

/// The settings in the form of a file, each of them read in every way.
QByteArray written(const Config& config)
{
    QString text;
    for (const QString& section : config.sections()) {
        text += QStringLiteral("[%1]\n").arg(section);
        for (const QString& name : config.keys(section)) {
            const QString key = section + u':' + name;
            require(config.contains(key), "a key that is named is there");
            require(!config.getList(key).contains(QString()), "a list has no empty parts");
            (void)config.getInt(key);
            (void)config.getBool(key);
            text += name + QStringLiteral(" = ") + config.getString(key) + u'\n';
        }
    }
    return text.toUtf8();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Config config;
    config.setValue(QStringLiteral("Earlier:key"), QStringLiteral("value"));
    QString error;
    if (!load(config, fuzz::bytesOf(data, size), &error)) {
        require(!error.isEmpty() && !error.contains(u'\n'), "a fault is told in one line");
        require(written(config) == "[Earlier]\nkey = value\n", "the earlier settings stay");
        return 0;
    }
    try {
        (void)poshost::readHostSettings(config, {}, {});
    } catch (const poshost::FatalError& failure) {
        require(!failure.line().isEmpty() && !failure.line().contains(u'\n'), "a refusal is one line");
    }
    Config again;
    require(load(again, written(config), &error), "what was read can be written");
    require(written(again) == written(config), "and reads the same");
    return 0;
}
