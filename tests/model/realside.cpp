#include "tests/model/realside.h"

#include <algorithm>
#include <future>

#include <QJsonArray>

#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/events.h>

using namespace Qt::StringLiterals;
using std::chrono::milliseconds;

namespace {

qint64 untilOf(const CdnInfo& site)
{
    return site.unavailableUntil.isValid() ? site.unavailableUntil.toMSecsSinceEpoch() : -1;
}

qint64 realTime()
{
    return QDeadlineTimer::current(Qt::PreciseTimer).deadlineNSecs();
}

}  // namespace

/// Takes what becomes of a check's updates from the schedule, and keeps the records of the sites.
class RealSide::Client : public CrptClient
{
public:
    explicit Client(World& world)
        : m_world(world)
    {
    }
    UpdateInfoStatus updateInfo() override
    {
        const int scripted = m_world.updateCall().n[Step::Outcome];
        return scripted == 1   ? UpdateInfoStatus::AlreadyRunning
               : scripted == 2 ? UpdateInfoStatus::NoKeys
                               : CrptClient::updateInfo();
    }
    CDNInfos checkHealth(const QJsonArray& listed, const QString& apiKey) const override
    {
        CDNInfos found = CrptClient::checkHealth(listed, apiKey);
        measured += found;
        return found;
    }

    mutable QList<QSharedPointer<CdnInfo>> measured;

private:
    World& m_world;
};

RealSide::RealSide()
{
    for (int i = 0; i < addresses.size() * 3; ++i) {
        static const QStringList paths = {u"/cdn/info"_s, u"/cdn/health/check"_s, u"/codes/check"_s};
        m_methods.insert(QUrl(bases[i / 3] + u"/api/v4/true-api"_s + paths[i % 3]), i);
    }
    MockFactory<CurrentTime>::mocked = this;
    MockFactory<RestClient>::mocked = this;
    m_cashier = Singleton<ActivityNotifier>::instance()->addTriggerBefore(
        EActivityListener::ErrorNotification, [this](const Event& event) {
            const events::ErrorNotification notice(event);
            const tr::Tr text = notice.notification();
            m_world->record("notice", {}, notice.id() + u'|' + text.id() + u'|' + text.ru());
        });
    Log4Qt::LogManager::configure(
        {.level = Log4Qt::Level::Debug, .file = u"/dev/null"_s, .pattern = u"%v"_s, .secrets = true});
    Log4Qt::LogManager::setWatcher([this](const Log4Qt::LogRecord& line) {
        m_world->record(line.logger == "crptclient"_L1 ? "log" : "foreign", {int(line.level)}, line.text);
    });
}

RealSide::~RealSide()
{
    Log4Qt::LogManager::setWatcher({});
    MockFactory<RestClient>::mocked = nullptr;
    MockFactory<CurrentTime>::mocked = nullptr;
}

void RealSide::begin(World& world, const Trace& expected)
{
    static const QStringList keys = {u"CRPT:updateInfoInterval"_s, u"CRPT:getInfoTimeout"_s,
                                     u"CRPT:healthCheckTimeout"_s};
    static const std::array defaults = {-1, 10, 10};
    m_world = &world;
    m_expected = &expected;
    Singleton<Config>::instance()->clear();
    for (size_t i = 0; i < defaults.size(); ++i) {
        if (world.setting(i) != defaults[i]) {
            Singleton<Config>::instance()->setValue(keys[int(i)], QString::number(world.setting(i)));
        }
    }
    m_set = {};
    m_client = std::make_unique<Client>(world);
    m_client->onStart();
    world.otherUpdate = [this] {
        const auto update = [this] { return m_client->CrptClient::updateInfo(); };
        m_world->record("updated", {int(std::async(std::launch::async, update).get())});
    };
}

void RealSide::end()
{
    m_client.reset();
}

void RealSide::perform(const Step& step)
{
    if (step.kind == Step::AddHost) {
        m_client->addHost(QUrl(addresses[step.n[0]]), owners[step.n[1]]);
    } else if (step.kind == Step::AddKey) {
        m_client->addKey(u"key-%1"_s.arg(step.n[0]), owners[step.n[1]]);
    } else if (step.kind == Step::HostEvent) {
        Singleton<ActivityNotifier>::instance()->sendEvent(Event(hostEvents[size_t(step.n[0])]));
    } else if (step.kind == Step::Update) {
        m_world->record("updated", {int(m_client->CrptClient::updateInfo())});
    } else if (step.kind == Step::Check) {
        check(step);
    } else if (step.kind == Step::Pass) {
        m_world->pass(step.n[0], step.n[1]);
    } else if (const auto& measured = m_client->measured; !measured.isEmpty()) {
        measured[step.n[0] % measured.size()]->markAsUnavailable(currentDateTime().addMSecs(step.n[1]),
                                                                 step.n[2] != 0);
    }
    for (const auto& site : m_client->measured) {
        m_world->record("site", {site->available, untilOf(*site), site->networkError, site->responseTime},
                        site->host);
    }
}

void RealSide::check(const Step& step)
{
    QList<MarkingCode> requested;
    QJsonArray texts;
    for (const int code : codesOf(step)) {
        requested.append(MarkingCode(codeTexts[code]));
        texts.append(codeTexts[code]);
    }
    const QString key = u"check-%1"_s.arg(step.n[Step::Key]);
    const milliseconds budget(givenLimit(step, Step::Budget));
    const milliseconds limit(givenLimit(step, Step::Limit));
    m_checkHeaders = {{u"X-API-KEY"_s, key}};
    if (step.n[Step::Direct] != 0) {
        recordResponse(m_client->request(m_checkHeaders, QJsonDocument(QJsonObject{{u"codes"_s, texts}}),
                                         budget, limit));
        return;
    }
    m_checkHeaders.insert({{u"Content-Type"_s, u"application/json"_s},
                           {u"Accept"_s, u"application/json"_s},
                           {u"Connection"_s, u"keep-alive"_s}});
    const auto result = m_client->checkMarkingCodes(key, requested, budget, limit);
    recordResponse(result);
    recordVerdicts(result);
}

void RealSide::recordResponse(const http::Response& response)
{
    m_world->record(
        "result",
        {int(response.errorKind()), response.status(), response.isTimeout(), response.isNetworkError()},
        response.url().toString(QUrl::FullyEncoded) + u'|' + response.errorText().id(), response.body());
}

void RealSide::recordVerdicts(const CheckMarkingCodesResult& result)
{
    for (const MarkingCode& code : result.passedCodes) {
        m_world->record("passed", {}, code.toString());
    }
    for (auto failed = result.failedCodes.begin(); failed != result.failedCodes.end(); ++failed) {
        m_world->record(
            "failed", {failed->status.toInt(), failed->errorCode, failed->object == result.responseObject()},
            failed.key().toString() + u'|' + failed->message);
    }
}

// The doubles

QDateTime RealSide::currentDateTime() const
{
    return QDateTime::fromMSecsSinceEpoch(m_world->wall(), Qt::UTC);
}

std::chrono::nanoseconds RealSide::monotonic() const
{
    m_realTime = realTime();
    return std::chrono::nanoseconds(m_world->monotonic());
}

/// The client takes a duration of this world's clock and counts it from now on the real one, some time
/// between its last look at the former and this call. The model's limit is taken when it lies between the
/// two.
void RealSide::setDeadline(const QDeadlineTimer& deadline)
{
    if (deadline.isForever()) {
        m_set.deadline = std::numeric_limits<qint64>::max();
        return;
    }
    const qint64 atLeast = m_world->monotonic() + deadline.deadlineNSecs() - realTime();
    const qint64 atMost = m_world->monotonic() + deadline.deadlineNSecs() - m_realTime;
    const size_t next = m_world->trace.size();
    const qint64 model = next < m_expected->size() ? (*m_expected)[next].numbers[1] : atMost;
    m_set.deadline = atLeast <= model && model <= atMost ? model : atMost;
}

void RealSide::sleepFor(milliseconds duration) const
{
    m_world->pause(duration.count());
}

http::Response RealSide::get(const QUrl& url, const QJsonDocument& body, const Headers& headers)
{
    return exchange(url, body, headers, false);
}

http::Response RealSide::post(const QUrl& url, const QJsonDocument& body, const Headers& headers)
{
    return exchange(url, body, headers, true);
}

http::Response RealSide::request(const QUrl& url, const QJsonDocument& body, const Headers& headers)
{
    return exchange(url, body, headers, !body.isEmpty());
}

http::Response RealSide::exchange(const QUrl& url, const QJsonDocument& body, const Headers& headers,
                                  bool posted)
{
    const int id = m_methods.value(url, World::CodesCheck - 3);
    const auto method = World::Method((id + 3) % 3);
    const bool isCheck = method == World::CodesCheck;
    const QString key = headers.value(u"X-API-KEY"_s);
    const Headers plain = {
        {u"X-API-KEY"_s, key}, {u"Accept"_s, u"application/json"_s}, {u"Connection"_s, u"close"_s}};
    const bool asExpected = posted == isCheck && headers == (isCheck ? m_checkHeaders : plain);

    const Setup set = std::exchange(m_set, {});
    qint64 limit = set.timeout;
    std::optional<qint64> end;
    if (set.deadline) {
        limit = *set.deadline;
        if (limit != std::numeric_limits<qint64>::max()) {
            end = limit;
        }
    } else if (limit > 0) {
        end = m_world->monotonic() + limit * 1'000'000;
    }
    m_world->record("request", {id, limit, set.deadline.has_value(), set.isNew, asExpected},
                    set.alias + u'|' + key + (id < 0 ? u'|' + url.toString() : QString()),
                    body.isEmpty() ? QByteArray() : body.toJson(QJsonDocument::Compact));
    // Without its URL: it is the client that says which site a reply is of.
    const http::Response response = responseOf(m_world->answer(method, end));
    m_world->record("class", {CrptClient::getRequestStatus(response)});
    return response;
}
