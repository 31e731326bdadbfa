#include "tests/model/schedule.h"

#include <algorithm>
#include <limits>
#include <ostream>

using namespace Qt::StringLiterals;

namespace {
/// Sites that only a long list has: two less than are looked at.
QStringList manyMore(QStringList addresses)
{
    for (int i = 0; i < 98; ++i) {
        addresses.append(u"https://more%1.test"_s.arg(i));
    }
    return addresses;
}
}  // namespace

const QStringList addresses =
    manyMore(u"http://d.test:8080 https://a.test https://b.test/ https://c.test/x// "
             "https://s1.test http://s2.test:81/ https://s3.test/a/b https://s4.test/a%2Fb%25/ "
             "https://s5.test// s6.test"_s.split(u' '));
const QStringList bases =
    manyMore(u"http://d.test:8080 https://a.test https://b.test https://c.test/x/ "
             "https://s1.test http://s2.test:81 https://s3.test/a/b https://s4.test/a/b%25 "
             "https://s5.test/ s6.test"_s.split(u' '));
const QStringList owners = {u"A"_s, u"B"_s, QString()};
const QStringList codeTexts = {u"0104600000000017215abc\u001d93Zz9="_s, u"RU-401301-AAA7277031"_s,
                               u"00000046198488X?io+qCABm8"_s};
const QStringList readableCodes = {u"0104600000000017215abc<GS>93Zz9="_s, codeTexts[1], codeTexts[2]};

namespace {

struct Field
{
    const char* json;  // null: the member is missing
    std::optional<int> integer;
};
const std::vector<Field> codeFields = {{"0", 0},         {nullptr, {}}, {"5000", 5000},    {"1", 1},
                                       {"\"5000\"", {}}, {"\"0\"", {}}, {"null", {}},      {"5000.5", {}},
                                       {"-1", -1},       {"5e3", 5000}, {"4294972296", {}}};
const std::vector<const char*> descriptions = {"\"ok\"", nullptr, "\"OK\"", "\"ok \"", "7", "null"};
const std::vector<int> statuses = {200, 0,   203, 401, 403, 404, 429, 500, 503, 400, 402, 405,
                                   428, 430, 499, 599, 600, 201, 204, 302, 399, 100, 502};
constexpr qint64 countless = std::numeric_limits<qint64>::max() / 1'000'000;
const std::vector<qint64> limits = {2000, 0,        1999,          2001,
                                    2500, 5000,     30000,         120000,
                                    -5,   -3600000, countless + 1, std::numeric_limits<qint64>::max()};
enum Forms { Object, Empty, Wrapped, Cut, Text };
constexpr int siteCount = 6;

/// What a digit of a list stands for: nothing, a site or an element without one.
const std::vector<QByteArray> oddElements = {R"({"host":""})", "{}", R"({"host":7})", R"("s")", "null"};
int siteOf(int digit)
{
    return digit > 0 && digit <= 10 ? hostCount + (digit - 1) % siteCount : 0;
}
/// What a digit of a check's reply stands for: nothing or a verdict.
std::optional<Reply::Verdict> verdictOf(int digit)
{
    using enum Reply::Verdict;
    static const std::array verdicts = {Passes, Passes, Passes, Sold, HasMessage, PassesTwice};
    return digit > 0 && digit < 13 ? std::optional(verdicts[size_t(digit - 1) / 2]) : std::nullopt;
}

QByteArray contentOf(const Step& reply)
{
    QByteArrayList elements;
    if (reply.kind == Step::ListReply && (reply.n[Step::Content] & Step::Many) != 0) {
        for (const QString& address : addresses.mid(hostCount + siteCount)) {
            elements += "{\"host\":\"" + address.toUtf8() + "\"}";
        }
    }
    for (int digits = reply.n[Step::Content] & Step::Digits, i = 0; digits > 0; digits >>= 4, ++i) {
        const int digit = digits & 15;
        if (const int site = siteOf(digit); reply.kind == Step::ListReply && digit > 0) {
            elements += site > 0 ? "{\"host\":\"" + addresses[site].toUtf8() + "\"}"
                                 : oddElements[size_t(digit - 11)];
        } else if (const auto verdict = verdictOf(digit); reply.kind == Step::CheckReply && verdict) {
            static const QByteArray facts[] = {"}", "}", R"(,"sold":true,"errorCode":7})",
                                               R"(,"message":"no"})"};
            const QByteArray cis = codeTexts[i].toUtf8().replace('\x1d', "\\u001d");
            const QByteArray entry = "{\"cis\":\"" + cis + '"' + facts[*verdict];
            elements += *verdict == Reply::PassesTwice ? entry + ',' + entry : entry;
        }
    }
    return '[' + elements.join(',') + ']';
}

QByteArray bodyOf(const Step& reply)
{
    QByteArrayList members;
    const auto add = [&](const char* name, const QByteArray& json) {
        if (!json.isEmpty()) {
            members += QByteArray("\"") + name + "\":" + json;
        }
    };
    add("code", codeFields[size_t(reply.n[Step::Code])].json);
    add("description", descriptions[size_t(reply.n[Step::Description])]);
    if (const int content = reply.n[Step::Content];
        (content & ~Step::Many) < Step::MemberMissing && reply.kind != Step::ProbeReply) {
        add(reply.kind == Step::ListReply ? "hosts" : "codes", contentOf(reply));
    } else if ((content & Step::MemberOfWrongType) != 0) {
        add(reply.kind == Step::ListReply ? "hosts" : "codes", R"({"host":"s"})");
    }
    QByteArray object = '{' + members.join(',') + '}';
    switch (reply.n[Step::Form]) {
    case Empty:
        return {};
    case Wrapped:
        return '[' + object + ']';
    case Cut:
        return object.chopped(1);
    case Text:
        return "<html>ok</html>";
    default:
        return object;
    }
}

}  // namespace

QString Step::toText() const
{
    static const QStringList kinds =
        u"AddHost AddKey HostEvent Update Check Pass Mark UpdateCall ListReply ProbeReply CheckReply Setting"_s
            .split(u' ');
    QString text = kinds[kind];
    for (const int number : n) {
        text += u' ' + QString::number(number);
    }
    return kind >= ListReply && kind <= CheckReply
               ? text + u"  HTTP %1 "_s.arg(statuses[size_t(n[Status])]) + QString::fromUtf8(bodyOf(*this))
               : text;
}

void showValue(const Step& step, std::ostream& stream)
{
    stream << "\n    " << step.toText().toStdString();
}

std::vector<int> codesOf(const Step& check)
{
    std::vector<int> codes;
    for (int digits = check.n[Step::Codes]; digits > 0; digits /= 4) {
        if (digits % 4 > 0) {
            codes.push_back(digits % 4 - 1);
        }
    }
    return codes;
}

qint64 givenLimit(const Step& check, Step::CheckNumber which)
{
    return limits[size_t(check.n[which])];
}

std::optional<qint64> limitInForce(const Step& check, Step::CheckNumber which)
{
    const qint64 given = givenLimit(check, which);
    if (given > countless) {
        return std::nullopt;
    }
    return check.n[Step::Direct] == 0 ? std::max<qint64>(given, 2000) : given;
}

Reply::Reply(const Step& step)
    : status(statuses[size_t(step.n[Step::Status])])
    , timeout(step.n[Step::Failure] == 1)
    , networkError(step.n[Step::Failure] >= 2)
    , causedHere(step.n[Step::Failure] == 3)
    , hasCode(step.n[Step::Form] == Object && codeFields[size_t(step.n[Step::Code])].json != nullptr)
    , code(hasCode ? codeFields[size_t(step.n[Step::Code])].integer : std::nullopt)
    , describedOk(step.n[Step::Form] == Object && step.n[Step::Description] == 0)
{
    const int content = step.n[Step::Content];
    const bool isRead = step.n[Step::Form] == Object && (content & ~Step::Many) < Step::MemberMissing;
    if (isRead && step.kind == Step::ListReply && (content & Step::Many) != 0) {
        for (int i = hostCount + siteCount; i < addresses.size(); ++i) {
            listed.push_back(i);
        }
    }
    int digits = isRead ? content & Step::Digits : 0;
    for (int i = 0; digits > 0; digits >>= 4, ++i) {
        if (const int site = siteOf(digits & 15); step.kind == Step::ListReply && site > 0) {
            listed.push_back(site);
        } else if (const auto verdict = verdictOf(digits & 15); step.kind == Step::CheckReply && verdict) {
            verdicts.emplace_back(i, *verdict);
        }
    }
}

http::Response responseOf(const Step& reply)
{
    http::Response response;
    response.setBody(bodyOf(reply));
    const Reply said(reply);
    response.setStatus(said.status);
    response.setTimeout(said.timeout);
    response.setNetworkError(said.networkError);
    response.setNetworkError(said.causedHere     ? http::NetworkError::OperationCanceled
                             : said.networkError ? http::NetworkError::RemoteHostClosed
                             : said.timeout      ? http::NetworkError::Timeout
                                                 : http::networkErrorOfStatus(said.status));
    if (said.timeout || said.networkError) {
        response.setErrorText(said.timeout ? tr::Tr(u"late"_s, u"Поздно"_s) : tr::Tr(u"cut"_s, u"Обрыв"_s));
    }
    return response;
}
