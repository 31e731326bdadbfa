#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <utility>

namespace marksim {

/// Somebody's input is wrong; what() is one line for that person: where, what, and what would be right.
class InputError : public std::runtime_error
{
public:
    explicit InputError(const QString& message)
        : std::runtime_error(message.toStdString())
    {
    }
};

/// Reads one JSON object strictly: every read checks type and range, finish() refuses keys nobody read.
/// All failures are InputError.
class JsonReader
{
public:
    /// `where` names the object in messages, for example `servers.site-1`.
    JsonReader(const QJsonValue& value, QString where);

    /// Each of these is empty when the key is missing.
    [[nodiscard]] std::optional<qint64> integer(QLatin1String key, qint64 least, qint64 most);
    [[nodiscard]] std::optional<bool> flag(QLatin1String key);
    [[nodiscard]] std::optional<QString> text(QLatin1String key);
    [[nodiscard]] std::optional<QJsonObject> object(QLatin1String key);
    [[nodiscard]] std::optional<QJsonArray> array(QLatin1String key);
    [[nodiscard]] std::optional<QStringList> texts(QLatin1String key);
    [[nodiscard]] std::optional<QJsonValue> value(QLatin1String key);

    template <typename Enum>
    using Names = std::initializer_list<std::pair<QLatin1String, Enum>>;

    template <typename Enum>
    [[nodiscard]] std::optional<Enum> choice(QLatin1String key, Names<Enum> names)
    {
        const auto given = text(key);
        if (!given)
            return std::nullopt;
        QStringList known;
        for (const auto& [name, enumerator] : names) {
            if (*given == name)
                return enumerator;
            known << name;
        }
        fail(key, QStringLiteral("\"%1\" is not one of %2").arg(*given, known.join(QStringLiteral(", "))));
    }

    [[noreturn]] void fail(QLatin1String key, const QString& why) const;
    [[nodiscard]] QString at(QLatin1String key) const;

    /// To be called after the last read.
    void finish() const;

private:
    [[nodiscard]] QJsonValue take(QLatin1String key);

    QJsonObject object_;
    QString where_;
    QStringList known_;
};

/// Parses `bytes` as a JSON document with an object or an array at its top; `where` names it in the message.
[[nodiscard]] QJsonValue parseJson(const QByteArray& bytes, const QString& where);

}  // namespace marksim
