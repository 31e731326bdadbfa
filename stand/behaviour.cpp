#include "behaviour.h"

#include "codeparts.h"
#include "jsonreader.h"

#include <QJsonDocument>
#include <algorithm>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr qint64 longestWaitMs = 3'600'000;
constexpr qint64 mostPaddingMegabytes = 4096;
constexpr qint64 mostCount = 1'000'000'000;

std::chrono::milliseconds readWait(JsonReader& reader, QLatin1String key)
{
    return std::chrono::milliseconds(reader.integer(key, 0, longestWaitMs).value_or(0));
}

void readConnection(JsonReader& reader, Behaviour& behaviour)
{
    behaviour.connect = reader
                            .choice<Connect>("connect"_L1, {{"refuse"_L1, Connect::Refuse},
                                                            {"unanswered"_L1, Connect::Unanswered},
                                                            {"reset"_L1, Connect::Reset},
                                                            {"close"_L1, Connect::Close},
                                                            {"silent"_L1, Connect::Silent}})
                            .value_or(Connect::Normal);
    behaviour.certificate =
        reader.choice<Certificate>("certificate"_L1, {{"good"_L1, Certificate::Good},
                                                      {"wrong-host"_L1, Certificate::WrongHost},
                                                      {"expired"_L1, Certificate::Expired},
                                                      {"self-signed"_L1, Certificate::SelfSigned}});
}

void readScope(JsonReader& reader, Behaviour& behaviour)
{
    behaviour.method = reader
                           .choice<std::string>("method"_L1, {{"all"_L1, ""},
                                                              {"info"_L1, "info"},
                                                              {"health"_L1, "health"},
                                                              {"check"_L1, "check"},
                                                              {"status"_L1, "status"},
                                                              {"init"_L1, "init"},
                                                              {"outCheck"_L1, "outCheck"},
                                                              {"greyList"_L1, "greyList"}})
                           .value_or("");
    if (const auto times = reader.integer("times"_L1, 1, mostCount))
        behaviour.times = static_cast<int>(*times);
}

std::optional<std::string> readRaw(JsonReader& reader)
{
    const auto text = reader.text("raw"_L1);
    const auto base64 = reader.text("rawBase64"_L1);
    if (!base64)
        return text ? std::optional(text->toStdString()) : std::nullopt;
    if (text)
        reader.fail("rawBase64"_L1, u"cannot stand beside \"raw\""_s);
    const auto bytes =
        QByteArray::fromBase64Encoding(base64->toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!bytes)
        reader.fail("rawBase64"_L1, u"must be Base64"_s);
    return (*bytes).toStdString();
}

std::optional<std::string> readBody(JsonReader& reader)
{
    const auto body = reader.object("body"_L1);
    const auto text = reader.text("text"_L1);
    if (body && text)
        reader.fail("text"_L1, u"cannot stand beside \"body\""_s);
    if (body)
        return QJsonDocument(*body).toJson(QJsonDocument::Compact).toStdString();
    return text ? std::optional(text->toStdString()) : std::nullopt;
}

bool fitsHeader(const std::string& text)
{
    return std::none_of(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

void readHeaders(JsonReader& reader, Behaviour& behaviour)
{
    const auto headers = reader.object("headers"_L1).value_or(QJsonObject());
    for (auto header = headers.begin(); header != headers.end(); ++header) {
        if (!header->isString() && !header->isNull())
            reader.fail("headers"_L1,
                        u"\"%1\" must be a text, or null to leave the header out"_s.arg(header.key()));
        const auto name = header.key().toStdString();
        const auto value = header->toString().toStdString();
        if (name.empty() || !fitsHeader(name) || !fitsHeader(value))
            reader.fail("headers"_L1, u"\"%1\" is no header (use \"raw\" for that)"_s.arg(header.key()));
        behaviour.headers.emplace_back(name, header->isNull() ? std::nullopt : std::optional(value));
    }
}

QStringList readPath(const JsonReader& reader, QLatin1String key, const QString& pointer)
{
    if (!pointer.startsWith(u'/'))
        reader.fail(key, u"\"%1\" must be a path such as \"/codes/0/valid\""_s.arg(pointer));
    return pointer.mid(1).split(u'/');
}

void readEdits(JsonReader& reader, Behaviour& behaviour)
{
    const auto set = reader.object("set"_L1).value_or(QJsonObject());
    for (auto member = set.begin(); member != set.end(); ++member)
        behaviour.edits.emplace_back(readPath(reader, "set"_L1, member.key()), *member);
    const auto removed = reader.texts("remove"_L1).value_or(QStringList());
    for (const auto& pointer : removed)
        behaviour.edits.emplace_back(readPath(reader, "remove"_L1, pointer), std::nullopt);
}

void readForm(JsonReader& reader, Behaviour& behaviour)
{
    behaviour.payload = reader
                            .choice<Payload>("payload"_L1, {{"malformed"_L1, Payload::Malformed},
                                                            {"empty"_L1, Payload::Empty}})
                            .value_or(Payload::Normal);
    behaviour.framing = reader
                            .choice<Framing>("framing"_L1, {{"length"_L1, Framing::Length},
                                                            {"short-length"_L1, Framing::ShortLength},
                                                            {"long-length"_L1, Framing::LongLength},
                                                            {"chunked"_L1, Framing::Chunked},
                                                            {"bad-chunks"_L1, Framing::BadChunks},
                                                            {"until-close"_L1, Framing::UntilClose}})
                            .value_or(Framing::Length);
    behaviour.encoding = reader
                             .choice<Encoding>("encoding"_L1, {{"gzip"_L1, Encoding::Gzip},
                                                               {"lying-gzip"_L1, Encoding::LyingGzip}})
                             .value_or(Encoding::Identity);
    const auto megabytes = reader.integer("padMegabytes"_L1, 1, mostPaddingMegabytes).value_or(0);
    behaviour.padding = static_cast<std::uint64_t>(megabytes) * 1024 * 1024;
}

std::optional<Cut> readCut(JsonReader& reader)
{
    const auto source = reader.object("cut"_L1);
    if (!source)
        return std::nullopt;
    JsonReader inner(*source, reader.at("cut"_L1));
    Cut cut;
    const auto after = inner.value("after"_L1).value_or(QJsonValue());
    if (after.isString()) {
        cut.place = *inner.choice<Cut::Place>(
            "after"_L1, {{"head"_L1, Cut::Place::Head}, {"reply"_L1, Cut::Place::Reply}});
    } else {
        const auto offset = inner.integer("after"_L1, 0, mostCount);
        if (!offset)
            inner.fail("after"_L1, u"must be a number of bytes, \"head\" or \"reply\""_s);
        cut.offset = static_cast<std::uint64_t>(*offset);
    }
    const auto by = inner.choice<Ending>(
        "by"_L1, {{"close"_L1, Ending::Close}, {"reset"_L1, Ending::Reset}, {"stall"_L1, Ending::Stall}});
    cut.ending = by.value_or(Ending::Close);
    inner.finish();
    return cut;
}

std::optional<Drip> readDrip(JsonReader& reader)
{
    const auto source = reader.object("drip"_L1);
    if (!source)
        return std::nullopt;
    JsonReader inner(*source, reader.at("drip"_L1));
    Drip drip;
    drip.bytes = static_cast<std::size_t>(inner.integer("bytes"_L1, 1, mostCount).value_or(1));
    drip.every = readWait(inner, "everyMs"_L1);
    inner.finish();
    return drip;
}

Twist readTwist(JsonReader& reader)
{
    const auto source = reader.object("answers"_L1);
    if (!source)
        return {};
    JsonReader inner(*source, reader.at("answers"_L1));
    Twist twist;
    twist.omit = inner.texts("omit"_L1).value_or(QStringList());
    twist.repeat = inner.texts("repeat"_L1).value_or(QStringList());
    twist.contradict = inner.texts("contradict"_L1).value_or(QStringList());
    twist.add = inner.texts("add"_L1).value_or(QStringList());
    twist.groups = static_cast<int>(inner.integer("groups"_L1, 0, 1000).value_or(1));
    inner.finish();
    return twist;
}

/// A connection is treated before its requests are known, so nothing about requests can stand beside.
void checkConnectionAlone(const JsonReader& reader, const Behaviour& behaviour)
{
    if (!behaviour.concernsConnections())
        return;
    const QStringList allowed{u"connect"_s, u"certificate"_s, u"times"_s};
    const auto keys = behaviour.source.keys();
    for (const auto& key : keys) {
        if (!allowed.contains(key))
            reader.fail("connect"_L1,
                        u"concerns whole connections, \"%1\" cannot stand beside it"_s.arg(key));
    }
    if (isAtTheDoor(behaviour.connect) && behaviour.times)
        reader.fail("times"_L1, u"a connection that is not accepted is not seen and cannot be counted"_s);
}

}  // namespace

bool isAtTheDoor(Connect connect)
{
    return connect == Connect::Refuse || connect == Connect::Unanswered;
}

bool Twist::names(const QStringList& list, const QString& code)
{
    const auto parts = readCode(code);
    return std::any_of(list.begin(), list.end(), [&parts](const QString& named) {
        return named == u'*' || readCode(named).text == parts.text || readCode(named).text == parts.cis;
    });
}

Behaviour Behaviour::fromJson(const QJsonValue& value, const QString& where)
{
    JsonReader reader(value, where);
    Behaviour behaviour;
    behaviour.source = value.toObject();
    readScope(reader, behaviour);
    readConnection(reader, behaviour);
    behaviour.latency = readWait(reader, "latencyMs"_L1);
    behaviour.jitter = readWait(reader, "jitterMs"_L1);
    behaviour.silent = reader.flag("silent"_L1).value_or(false);
    if (const auto status = reader.integer("status"_L1, 200, 999))
        behaviour.status = static_cast<int>(*status);
    behaviour.body = readBody(reader);
    behaviour.raw = readRaw(reader);
    readHeaders(reader, behaviour);
    readEdits(reader, behaviour);
    readForm(reader, behaviour);
    behaviour.cut = readCut(reader);
    behaviour.drip = readDrip(reader);
    behaviour.twist = readTwist(reader);
    reader.finish();
    checkConnectionAlone(reader, behaviour);
    return behaviour;
}

QJsonObject Behaviour::toJson() const
{
    auto object = source;
    if (times)
        object["times"_L1] = *times;
    return object;
}

std::vector<Behaviour> behavioursFromJson(const QJsonValue& value, const QString& where)
{
    if (!value.isArray())
        return {Behaviour::fromJson(value, where)};
    std::vector<Behaviour> list;
    const auto array = value.toArray();
    for (qsizetype i = 0; i < array.size(); ++i)
        list.push_back(Behaviour::fromJson(array[i], u"%1[%2]"_s.arg(where).arg(i)));
    return list;
}

}  // namespace marksim
