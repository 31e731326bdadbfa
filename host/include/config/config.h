#pragma once

#include <memory>

#include <QList>
#include <QString>
#include <QStringList>

#include <utils/export.h>
#include <utils/singleton.h>

/// The host's settings: sections of keys, read by "<section>:<key>". Taken from an INI file in UTF-8 (load())
/// and from setValue().
///
/// A value is what stands after the first "=" of its line, without the blanks around it, as written: no
/// quotes, comments, escapes or variables are interpreted inside it. A line that begins with ";" or "#" is a
/// comment. Section and key names are case-sensitive. A section or key given twice is one section or key, the
/// later value wins. Sections come in the order of the file.
///
/// Usually reached as Singleton<Config>::instance(). Threads: any.
class ORVEX_EXPORT Config
{
public:
    Config();
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;
    ~Config();

    /// Replaces all settings by those of `file`. False with a text in `error` (may be null) that says what is
    /// wrong and where (file missing, unreadable, not UTF-8, a line that is neither section, "key = value"
    /// nor comment, a colon in a key's name, a byte order mark inside); the earlier settings then stay.
    bool load(const QString& file, QString* error = nullptr);

    /// Sets one value, creating its section (at the end) when needed. `key` is "<section>:<key>".
    void setValue(const QString& key, const QString& value);
    /// Forgets all settings.
    void clear();

    /// Names of the sections that match `wildcard` ("*" any text, "?" one character, "[...]" a set), in the
    /// order of the file. The match is case-sensitive and covers the whole name.
    [[nodiscard]] QStringList sections(const QString& wildcard = QStringLiteral("*")) const;
    /// Names of the keys of a section in the order of the file; empty for an unknown section.
    [[nodiscard]] QStringList keys(const QString& section) const;
    [[nodiscard]] bool contains(const QString& key) const;
    /// Numbers of the lines of the loaded file that name the section (without a key) or the key in it, in
    /// their order: more than one when it is given twice, none for what came from setValue().
    [[nodiscard]] QList<int> lines(const QString& section, const QString& key = {}) const;

    /// `fallback` when the key is missing; a key that is present with no value reads as an empty text.
    [[nodiscard]] QString getString(const QString& key, const QString& fallback = {}) const;
    /// `fallback` when the key is missing or its value is no decimal number in the range of int.
    [[nodiscard]] int getInt(const QString& key, int fallback = 0) const;
    /// True for "true", "yes", "on", "1", false for "false", "no", "off", "0" (any letter case), otherwise
    /// `fallback`.
    [[nodiscard]] bool getBool(const QString& key, bool fallback = false) const;
    /// The parts of a comma-separated value without the blanks around them; empty parts are left out.
    [[nodiscard]] QStringList getList(const QString& key) const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

extern template class Singleton<Config>;
