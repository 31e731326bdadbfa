#include <config/inilines.h>

#include <QList>
#include <QStringDecoder>

namespace {

bool isUtf8(const QByteArray& text)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(text);
    Q_UNUSED(decoded);
    return !decoder.hasError();
}

/// Without the blanks around it that the INI reader skips, too: others, such as a vertical tab, belong to the
/// text.
QByteArray withoutBlanks(QByteArrayView text)
{
    constexpr auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.isEmpty() && isBlank(text.front())) {
        text = text.sliced(1);
    }
    while (!text.isEmpty() && isBlank(text.back())) {
        text.chop(1);
    }
    return text.toByteArray();
}

/// What is wrong with a "[...]" line, empty when nothing is.
QString faultOfSection(const QByteArray& line)
{
    const qsizetype end = line.indexOf(']');
    if (end < 0) {
        return QStringLiteral("нет \"]\" в конце имени секции");
    }
    if (withoutBlanks(line.mid(1, end - 1)).isEmpty()) {
        return QStringLiteral("у секции нет имени");
    }
    const QByteArray rest = withoutBlanks(line.mid(end + 1));
    if (!rest.isEmpty() && rest[0] != ';' && rest[0] != '#') {
        return QStringLiteral("лишний текст после имени секции");
    }
    return {};
}

QString faultOfSetting(const QByteArray& line, bool inSection)
{
    const qsizetype end = line.indexOf('=');
    if (end < 0) {
        return QStringLiteral("строка не является ни секцией, ни параметром, ни комментарием");
    }
    const QByteArray name = withoutBlanks(line.first(end));
    if (name.isEmpty()) {
        return QStringLiteral("у параметра нет имени");
    }
    if (name.contains(':')) {  // nobody could ask for it
        return QStringLiteral("двоеточие в имени параметра");
    }
    return inSection ? QString() : QStringLiteral("параметр стоит до первой секции");
}

QString faultOfLine(const QByteArray& line, bool inSection)
{
    if (line.contains('\0') || !isUtf8(line)) {
        return QStringLiteral("текст не в кодировке UTF-8");
    }
    if (line.isEmpty() || line[0] == ';' || line[0] == '#') {
        return {};
    }
    if (line.contains("\xEF\xBB\xBF")) {  // it cannot be seen, and what holds it is not what it looks like
        return QStringLiteral("метка порядка байтов (BOM) не в начале файла");
    }
    return line[0] == '[' ? faultOfSection(line) : faultOfSetting(line, inSection);
}

}  // namespace

QString faultOfIni(const QByteArray& text)
{
    QByteArray lines = text;
    lines.replace("\r\n", "\n").replace('\r', '\n');
    bool inSection = false;
    int number = 0;
    for (const QByteArray& untrimmed : lines.split('\n')) {
        ++number;
        const QByteArray line = withoutBlanks(untrimmed);
        const QString fault = faultOfLine(line, inSection);
        inSection = inSection || line.startsWith('[');
        if (!fault.isEmpty()) {
            return QStringLiteral("%1: %2").arg(QString::number(number), fault);
        }
    }
    return {};
}
