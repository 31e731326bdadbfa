#include <log4qt/secretmask.h>

#include <algorithm>

#include <QStringView>

namespace Log4Qt {

namespace {

constexpr qsizetype minSecretSize = 4;
constexpr qsizetype maxWhollyHidden = 8;
constexpr qsizetype readableEnd = 4;

void hide(QString& text, qsizetype start, qsizetype length)
{
    const qsizetype hidden = length <= maxWhollyHidden ? length : length - readableEnd;
    std::fill_n(text.begin() + start, hidden, QChar(u'*'));
}

/// `value` without a closing " (owner)"; the owner's name may itself hold balanced parentheses.
QStringView withoutOwner(QStringView value)
{
    if (!value.endsWith(u')')) {
        return value;
    }
    qsizetype depth = 0;
    for (qsizetype i = value.size() - 1; i > 0; --i) {
        depth += value[i] == u')' ? 1 : 0;
        depth -= value[i] == u'(' ? 1 : 0;
        if (depth == 0) {
            return value[i - 1] == u' ' ? value.first(i - 1) : value;
        }
    }
    return value;
}

/// Hides in `masked` what follows the header's `name` in `text`.
void hideHeader(QStringView name, bool ownerMayFollow, QStringView text, QString& masked)
{
    static constexpr QStringView between = u" \t:=\"',";
    qsizetype start = text.indexOf(name, 0, Qt::CaseInsensitive);
    if (start < 0) {
        return;
    }
    start += name.size();
    while (start < text.size() && between.contains(text[start])) {
        ++start;
    }
    const QStringView value = text.sliced(start);
    hide(masked, start, (ownerMayFollow ? withoutOwner(value) : value).size());
}

/// How an address is written: plainly, or percent-encoded as a part of another one.
struct AddressForm
{
    QStringView start;
    QStringView userEnd;
    QStringView hostEnd;
};

/// What stands between "//" and the path, as far as there are no blanks in it.
QStringView authority(QStringView rest, QStringView hostEnd)
{
    const auto end =
        std::find_if(rest.begin(), rest.end(), [](QChar c) { return c.isSpace() || c == u'?' || c == u'#'; });
    const QStringView word = rest.first(end - rest.begin());
    const qsizetype path = word.indexOf(hostEnd, 0, Qt::CaseInsensitive);
    return path < 0 ? word : word.first(path);
}

/// Whether `host` ends within a password that holds a blank or a slash: no port follows its colon.
bool isCutInPassword(QStringView host)
{
    QStringView port = host.sliced(host.lastIndexOf(u':') + 1);
    while (!port.isEmpty() && !port.back().isLetterOrNumber()) {
        port.chop(1);  // the text around the address
    }
    return host.contains(u':') && !host.startsWith(u'[') &&
           !std::all_of(port.begin(), port.end(), [](QChar c) { return c.isDigit(); });
}

/// Hides in `masked` user and password of every address in `text`.
void hideUserInfo(const AddressForm& form, QStringView text, QString& masked)
{
    qsizetype at = text.indexOf(form.start, 0, Qt::CaseInsensitive);
    for (; at >= 0; at = text.indexOf(form.start, at + 1, Qt::CaseInsensitive)) {
        const qsizetype start = at + form.start.size();
        const QStringView rest = text.sliced(start);
        const QStringView host = authority(rest, form.hostEnd);
        qsizetype end = host.lastIndexOf(form.userEnd);
        if (end < 0 && isCutInPassword(host)) {
            end = rest.indexOf(form.userEnd);
        }
        std::fill_n(masked.begin() + start, std::max(end, qsizetype(0)), QChar(u'*'));
    }
}

void hideSecret(const QString& secret, const QString& text, QString& masked)
{
    for (qsizetype at = text.indexOf(secret); at >= 0; at = text.indexOf(secret, at + 1)) {
        hide(masked, at, secret.size());
    }
}

}  // namespace

void SecretMask::add(const QString& secret)
{
    if (secret.size() < minSecretSize || secrets().contains(secret)) {
        return;
    }
    const std::lock_guard lock(m_secretsMutex);
    QStringList changed = m_secrets;
    // A copy of the characters: a secret that is a literal lies in a library that may be unloaded.
    changed.append(QString(secret.constData(), secret.size()));
    m_secrets.swap(changed);
}

QString SecretMask::masked(const QString& text) const
{
    // Everything is looked for in the text as it came, so that one secret inside another is still found.
    QString masked = text;
    const QStringList known = secrets();
    for (const QString& secret : known) {
        hideSecret(secret, text, masked);
    }
    hideHeader(u"X-API-KEY", true, text, masked);
    hideHeader(u"Authorization", false, text, masked);
    hideUserInfo({u"//", u"@", u"/"}, text, masked);
    hideUserInfo({u"%2F%2F", u"%40", u"%2F"}, text, masked);
    return masked;
}

QStringList SecretMask::secrets() const
{
    const std::lock_guard lock(m_secretsMutex);
    return m_secrets;
}

}  // namespace Log4Qt
