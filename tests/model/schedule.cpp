#include "tests/model/schedule.h"

#include <algorithm>
#include <limits>
#include <random>

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

const QStringList Addresses =
    manyMore(u"http://d.test:8080 https://a.test https://b.test/ https://c.test/x// "
             "https://s1.test http://s2.test:81/ https://s3.test/a/b https://s4.test/a%2Fb%25/ "
             "https://s5.test// s6.test"_s.split(u' '));
const QStringList Bases =
    manyMore(u"http://d.test:8080 https://a.test https://b.test https://c.test/x/ "
             "https://s1.test http://s2.test:81 https://s3.test/a/b https://s4.test/a/b%25 "
             "https://s5.test/ s6.test"_s.split(u' '));
const QStringList Owners = {u"A"_s, u"B"_s, QString()};
const QStringList CodeTexts = {u"0104600000000017215abc\u001d93Zz9="_s, u"RU-401301-AAA7277031"_s,
                               u"00000046198488X?io+qCABm8"_s};
const QStringList ReadableCodes = {u"0104600000000017215abc<GS>93Zz9="_s, CodeTexts[1], CodeTexts[2]};

namespace {

struct Field
{
    const char* json;  // null: the member is missing
    std::optional<int> integer;
};
const std::vector<Field> CodeFields = {{"0", 0},         {nullptr, {}}, {"5000", 5000},    {"1", 1},
                                       {"\"5000\"", {}}, {"\"0\"", {}}, {"null", {}},      {"5000.5", {}},
                                       {"-1", -1},       {"5e3", 5000}, {"4294972296", {}}};
const std::vector<const char*> Descriptions = {"\"ok\"", nullptr, "\"OK\"", "\"ok \"", "7", "null"};
const std::vector<int> Statuses = {200, 0,   203, 401, 403, 404, 429, 500, 503, 400, 402, 405,
                                   428, 430, 499, 599, 600, 201, 204, 302, 399, 100, 502};
constexpr qint64 Countless = std::numeric_limits<qint64>::max() / 1'000'000;
const std::vector<qint64> Limits = {2000, 0,        1999,          2001,
                                    2500, 5000,     30000,         120000,
                                    -5,   -3600000, Countless + 1, std::numeric_limits<qint64>::max()};
enum Forms { Object, Empty, Wrapped, Cut, Text };
enum Contents { Digits = 0xfff, MemberMissing = 0x1000, MemberOfWrongType = 0x2000, Many = 0x4000 };
constexpr int SiteCount = 6;

/// What a digit of a list stands for: nothing, a site or an element without one.
const std::vector<QByteArray> OddElements = {R"({"host":""})", "{}", R"({"host":7})", R"("s")", "null"};
int siteOf(int digit)
{
    return digit > 0 && digit <= 10 ? HostCount + (digit - 1) % SiteCount : 0;
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
    if (reply.kind == Step::ListReply && (reply.n[Step::Content] & Many) != 0) {
        for (const QString& address : Addresses.mid(HostCount + SiteCount)) {
            elements += "{\"host\":\"" + address.toUtf8() + "\"}";
        }
    }
    for (int digits = reply.n[Step::Content] & Digits, i = 0; digits > 0; digits >>= 4, ++i) {
        const int digit = digits & 15;
        if (const int site = siteOf(digit); reply.kind == Step::ListReply && digit > 0) {
            elements += site > 0 ? "{\"host\":\"" + Addresses[site].toUtf8() + "\"}"
                                 : OddElements[size_t(digit - 11)];
        } else if (const auto verdict = verdictOf(digit); reply.kind == Step::CheckReply && verdict) {
            static const QByteArray facts[] = {"}", "}", R"(,"sold":true,"errorCode":7})",
                                               R"(,"message":"no"})"};
            const QByteArray cis = CodeTexts[i].toUtf8().replace('\x1d', "\\u001d");
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
    add("code", CodeFields[size_t(reply.n[Step::Code])].json);
    add("description", Descriptions[size_t(reply.n[Step::Description])]);
    if (const int content = reply.n[Step::Content];
        (content & ~Many) < MemberMissing && reply.kind != Step::ProbeReply) {
        add(reply.kind == Step::ListReply ? "hosts" : "codes", contentOf(reply));
    } else if ((content & MemberOfWrongType) != 0) {
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

/// The generator itself: the standard's distributions differ between libraries.
using Dice = std::mt19937_64;
int below(Dice& dice, size_t n)
{
    return int(dice() % n);
}
bool chance(Dice& dice, int percent)
{
    return below(dice, 100) < percent;
}

using Choice = std::vector<int>;
Choice upTo(int last, Choice more = {})
{
    for (; last >= 0; --last) {
        more.push_back(last);
    }
    return more;
}
/// `percent` of the times one of `rare`, otherwise 0.
Choice seldom(size_t percent, const Choice& rare)
{
    Choice choice = rare;
    choice.resize(rare.size() * 100 / percent);
    return choice;
}

/// For each kind of step and each of its numbers what it is drawn from.
const std::vector<Choice>& choicesOf(Step::Kind kind)
{
    static const Choice wallStep = seldom(5, {1, -1, 900, 901, -900, -901, 86400, -86400});
    static const Choice latency = {0,       0,       0,       0,        0,       0,       0,
                                   0,       1,       999,     1000,     50000,   1999999, 2000000,
                                   5000000, 5000000, 5000000, 59999000, 60000000};
    static const std::vector<Choice> reply = {seldom(3, {MemberMissing, MemberOfWrongType}),
                                              latency,
                                              {0, 0, 0, 0, 1, 2},
                                              wallStep,
                                              seldom(2, {1}),
                                              upTo(22, {0, 0, 1, 1, 1, 1, 1, 1, 2, 3, 4, 5, 6, 7, 7, 8, 8}),
                                              {0, 0, 0, 1, 1, 2, 3},
                                              upTo(10, {0, 0, 2, 2, 2, 2}),
                                              upTo(5, {0, 0, 0}),
                                              seldom(15, {1, 2, 3, 4})};
    static const std::array<std::vector<Choice>, Step::KindCount> choices = {{
        {upTo(HostCount - 1), {0, 0, 0, 0, 0, 0, 0, 0, 1, 2}},
        {upTo(2), {0, 0, 0, 0, 0, 0, 0, 0, 1, 2}},
        {upTo(3)},
        {},
        {{0, 1, 2, 3, 6, 9, 27, 30, 57, 21}, upTo(2), upTo(11), upTo(11), {0, 0, 0, 0, 0, 1}},
        {{0, 1, 100, 999, 1000, 1000, 59999, 60000, 60000, 60000, 60000, 60001, 899999, 900000, 900000,
          900001, 3600000},
         wallStep},
        {upTo(3), {0, 1, -1, 50, 250, 1000, 1000, 900000, -900000}, {0, 1}},
        {{0, 1, 1, 1, 2}, {0, 0, 1, 100, 900001, 900001}, wallStep, {0, 1}},
        reply,
        reply,
        reply,
        {{-1, 0, 1, 60, 60, 60, 900, 86400}, {10, 0, 1, -1, 3000000}, {10, 0, 1, -1}, {1000, 0, 1}},
    }};
    return choices[kind];
}

Step randomStep(Step::Kind kind, Dice& dice, bool good = false)
{
    Step step{kind, {}};
    const std::vector<Choice>& choices = choicesOf(kind);
    for (size_t i = 0; i < choices.size() && !(good && i >= Step::Status); ++i) {
        step.n[i] = choices[i][size_t(below(dice, choices[i].size()))];
    }
    if (kind == Step::ListReply || kind == Step::CheckReply) {
        step.n[Step::Content] |= below(dice, Digits + 1);
        if (step.kind == Step::ListReply && below(dice, 300) == 0) {
            step.n[Step::Content] |= Many;
        }
    }
    return step;
}

}  // namespace

Schedule randomSchedule(std::uint64_t seed, std::uint64_t run)
{
    std::seed_seq numbers{seed, run};
    Dice dice(numbers);
    Schedule schedule;
    const auto add = [&](Step::Kind kind, int times) {
        const int bad = std::array{2, 25, 80}[size_t(below(dice, 3))];  // the weather
        for (; times > 0; --times) {
            const bool again = !schedule.empty() && schedule.back().kind == kind && chance(dice, 20);
            schedule.push_back(again ? schedule.back()
                                     : randomStep(kind, dice, kind >= Step::ListReply && !chance(dice, bad)));
        }
    };
    add(Step::Setting, chance(dice, 40));
    add(Step::AddHost, 1 + below(dice, 5) / 2);
    add(Step::AddKey, chance(dice, 4) ? 0 : 1 + below(dice, 4) / 2);
    add(Step::Update, chance(dice, 60));
    add(Step::Mark, chance(dice, 25) ? 1 + below(dice, 3) : 0);
    for (int i = 1 + below(dice, 5); i > 0; --i) {
        static const Choice actions = {Step::Check,   Step::Check,    Step::Check, Step::Check,  Step::Check,
                                       Step::Check,   Step::Check,    Step::Check, Step::Check,  Step::Pass,
                                       Step::Pass,    Step::Pass,     Step::Mark,  Step::Update, Step::AddKey,
                                       Step::AddHost, Step::HostEvent};
        add(Step::Kind(actions[size_t(below(dice, actions.size()))]), 1);
    }
    add(Step::UpdateCall, chance(dice, 25) ? 1 + below(dice, 4) : 0);
    add(Step::ListReply, 1 + below(dice, 7));
    add(Step::ProbeReply, below(dice, 4));
    add(Step::CheckReply, 1 + below(dice, 7));
    return schedule;
}

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
               ? text + u"  HTTP %1 "_s.arg(Statuses[size_t(n[Status])]) + QString::fromUtf8(bodyOf(*this))
               : text;
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
    return Limits[size_t(check.n[which])];
}

std::optional<qint64> limitInForce(const Step& check, Step::CheckNumber which)
{
    const qint64 given = givenLimit(check, which);
    if (given > Countless) {
        return std::nullopt;
    }
    return check.n[Step::Direct] == 0 ? std::max<qint64>(given, 2000) : given;
}

Reply::Reply(const Step& step)
    : status(Statuses[size_t(step.n[Step::Status])])
    , timeout(step.n[Step::Failure] == 1)
    , networkError(step.n[Step::Failure] >= 2)
    , causedHere(step.n[Step::Failure] == 3)
    , hasCode(step.n[Step::Form] == Object && CodeFields[size_t(step.n[Step::Code])].json != nullptr)
    , code(hasCode ? CodeFields[size_t(step.n[Step::Code])].integer : std::nullopt)
    , describedOk(step.n[Step::Form] == Object && step.n[Step::Description] == 0)
{
    const int content = step.n[Step::Content];
    const bool isRead = step.n[Step::Form] == Object && (content & ~Many) < MemberMissing;
    if (isRead && step.kind == Step::ListReply && (content & Many) != 0) {
        for (int i = HostCount + SiteCount; i < Addresses.size(); ++i) {
            listed.push_back(i);
        }
    }
    int digits = isRead ? content & Digits : 0;
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
