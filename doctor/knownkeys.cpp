#include "doctor/knownkeys.h"

#include <algorithm>
#include <array>
#include <vector>

namespace doctor {

namespace {

constexpr int None = std::numeric_limits<int>::min();
constexpr int Most = std::numeric_limits<int>::max();
constexpr const char16_t* Patience = u"берётся 30 с";
constexpr int Longest = 86'400;  // seconds that poshost takes
constexpr const char16_t* Refused = u"poshost с таким значением не начнёт работу";
constexpr const char16_t* Off = u"считается выключенным";
constexpr const char* Services = "crpt turon esm";

constexpr KnownKey serviceKey(const char* section)
{
    return {section,
            "markverifycrptservice",
            KeyType::Choice,
            "crpt",
            u"секция не включает плагин",
            u"сервис проверки секции; плагин работает, когда хотя бы в одной он crpt",
            "verification service of the section; the plug-in works when some such section says crpt",
            None,
            0,
            Services};
}

constexpr std::array Keys = {
    serviceKey("MarkedGoods*"),
    serviceKey("DraftBeer*"),
    serviceKey("Motp*"),
    serviceKey("Moot*"),

    KnownKey{"CRPT", "updateInfoInterval", KeyType::Number, "-1", u"берётся -1 (без паузы)",
             u"пауза между поисками площадок проверками, которые не нашли ни одной, секунды; 0 и меньше: без "
             u"паузы",
             "seconds between two searches for sites by checks that find none; 0 or less: no pause"},
    KnownKey{"CRPT", "getInfoTimeout", KeyType::Number, "10", u"берётся 10 с",
             u"предел запроса списка площадок, секунды",
             "limit of the request for the list of sites, seconds", 1, Most, "", Patience},
    KnownKey{"CRPT", "healthCheckTimeout", KeyType::Number, "10", u"берётся 10 с",
             u"предел проверки одной площадки, секунды", "limit of the probe of one site, seconds", 1, Most,
             "", Patience},

    KnownKey{"LMCHZ*", "enable", KeyType::Switch, "false", Off, u"работать с этим локальным модулем",
             "use this local module"},
    KnownKey{"LMCHZ*", "token", KeyType::Text, "", u"",
             u"ключ API, проверки с которым идут в модуль; без него секция пропускается",
             "the API key whose checks go to it; without one the section is passed over"},
    KnownKey{"LMCHZ*", "url", KeyType::Url, "http://127.0.0.1:5995", u"модуль не будет опрошен",
             u"адрес модуля", "its address"},
    KnownKey{"LMCHZ*", "user", KeyType::Text, "", u"", u"имя пользователя модуля", "its user name"},
    KnownKey{"LMCHZ*", "password", KeyType::Text, "", u"", u"пароль модуля", "its password"},
    KnownKey{"LMCHZ*", "timeout", KeyType::Number, "5", u"берётся 5 с", u"предел одного запроса, секунды",
             "limit of one request, seconds", 1, Most, "", Patience},
    KnownKey{"LMCHZ*", "maintain", KeyType::Switch, "false", Off,
             u"инициализировать модуль и держать его серые списки как задано, по событию 96",
             "initialise it and keep its grey lists as wanted, at event 96"},
    KnownKey{"LMCHZ*", "enableGreyList", KeyType::Switch, "", u"серые списки будут выключены",
             u"включать ли серые списки GTIN модуля; без ключа их не трогают",
             "wanted state of its GTIN grey lists; without the key they are left alone"},

    KnownKey{"Host", "service", KeyType::Choice, "crpt", Refused, u"сервис проверок: плагин служит crpt",
             "verification service of the checks: the plug-in serves crpt", None, 0, Services},
    KnownKey{"Host", "section", KeyType::Text, "MarkedGoods", u"",
             u"секция, к которой относятся серверы и ключи оператора",
             "section that the operator's hosts and keys belong to"},
    KnownKey{"Host", "hosts", KeyType::AddressList, "", Refused, u"серверы оператора через запятую",
             "the operator's servers, separated by commas"},
    KnownKey{"Host", "keys", KeyType::TextList, "", u"", u"ключи API оператора через запятую",
             "their API keys, separated by commas"},
    KnownKey{"Host", "apiKey", KeyType::Text, "", u"",
             u"ключ, с которым идёт проверка; по умолчанию первый из keys",
             "key that a check is made with; by default the first of the keys"},
    KnownKey{"Host", "requestTimeout", KeyType::Number, "5", Refused,
             u"предел одного запроса проверки, секунды; 0: решает плагин",
             "limit of one request of a check, seconds; 0 leaves it to the plug-in", 0, Longest},
    KnownKey{"Host", "operationTimeout", KeyType::Number, "15", Refused,
             u"предел всей проверки, секунды; 0: решает плагин",
             "limit of a whole check, seconds; 0 leaves it to the plug-in", 0, Longest},
    KnownKey{"Host", "plugin", KeyType::InputFile, "", Refused,
             u"библиотека плагина; по умолчанию установленная вместе с poshost",
             "the plug-in library; by default the one installed with poshost"},

    KnownKey{"Network", "caFile", KeyType::InputFile, "", Refused,
             u"доверенные сертификаты (PEM) вместо системных",
             "trusted certificates (PEM) in place of the system's"},
    KnownKey{"Network", "proxy", KeyType::Proxy, "", Refused, u"адрес прокси-сервера", "address of a proxy"},
    KnownKey{"Network", "maxReplyBytes", KeyType::Number, "16777216", Refused,
             u"больший ответ считается ошибкой, байты", "larger replies are errors, bytes", 1},

    KnownKey{"Log", "level", KeyType::Choice, "", Refused,
             u"уровень журнала; по умолчанию решает команда: warn или debug",
             "log level; by default that of the command: warn or debug", None, 0,
             "trace debug info warn warning error fatal off"},
    KnownKey{"Log", "file", KeyType::OutputFile, "", Refused,
             u"файл журнала; по умолчанию стандартный вывод ошибок", "log file; by default standard error"},
    KnownKey{"Log", "pattern", KeyType::Text, "%Y-%m-%d %H:%M:%S.%e %^%-5l%$ [%n] %v", u"",
             u"вид строки журнала", "pattern of a log line"},
    KnownKey{"Log", "secrets", KeyType::Switch, "false", Off, u"писать ключи и пароли полностью",
             "write API keys and passwords in full"},
};

}  // namespace

bool KnownKey::isIn(const QString& sectionName) const
{
    const QLatin1String pattern(section);
    return pattern.endsWith(u'*') ? sectionName.startsWith(pattern.chopped(1)) : sectionName == pattern;
}

QString KnownKey::sectionStem() const
{
    const QLatin1String pattern(section);
    return pattern.endsWith(u'*') ? pattern.chopped(1) : pattern;
}

QStringList KnownKey::words() const
{
    return QString::fromLatin1(choices).split(u' ', Qt::SkipEmptyParts);
}

bool KnownKey::isOfHost() const
{
    static constexpr std::array own = {"Host", "Network", "Log"};
    return std::any_of(own.begin(), own.end(),
                       [this](const char* host) { return QLatin1String(section) == QLatin1String(host); });
}

std::span<const KnownKey> knownKeys()
{
    return Keys;
}

const KnownKey* knownKey(const QString& section, const QString& name)
{
    const auto* key = std::find_if(Keys.begin(), Keys.end(), [&](const KnownKey& known) {
        return known.isIn(section) && name == QLatin1String(known.name);
    });
    return key != Keys.end() ? key : nullptr;
}

QString typeName(KeyType type)
{
    switch (type) {
    case KeyType::Text:
        return QStringLiteral("text");
    case KeyType::Switch:
        return QStringLiteral("switch");
    case KeyType::Number:
        return QStringLiteral("number");
    case KeyType::Choice:
        return QStringLiteral("choice");
    case KeyType::Url:
        return QStringLiteral("url");
    case KeyType::Proxy:
        return QStringLiteral("address");
    case KeyType::AddressList:
        return QStringLiteral("addresses");
    case KeyType::TextList:
        return QStringLiteral("texts");
    case KeyType::InputFile:
    case KeyType::OutputFile:
        break;
    }
    return QStringLiteral("file");
}

int distance(const QString& one, const QString& other)
{
    const QString a = one.toLower();
    const QString b = other.toLower();
    const auto width = size_t(b.size());
    // Rows of the table of distances between the beginnings of the two: the last two and the one being made.
    std::vector<int> older(width + 1);
    std::vector<int> old(width + 1);
    std::vector<int> row(width + 1);
    for (size_t j = 0; j <= width; ++j) {
        row[j] = int(j);
    }
    for (qsizetype i = 0; i < a.size(); ++i) {
        older.swap(old);
        old.swap(row);
        row[0] = int(i) + 1;
        for (qsizetype j = 0; j < b.size(); ++j) {
            const auto at = size_t(j) + 1;
            const int changed = old[at - 1] + (a[i] == b[j] ? 0 : 1);
            row[at] = std::min({changed, old[at] + 1, row[at - 1] + 1});
            if (i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j]) {
                row[at] = std::min(row[at], older[at - 2] + 1);
            }
        }
    }
    return row[width];
}

}  // namespace doctor
