#pragma once

#include <chrono>
#include <mutex>
#include <optional>

#include <QHash>
#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QUrl>

#include "result/checkmarkingcodesresult.h"
#include "sync/fairmutex.h"
#include <network/restclient.h>
#include <orvex/activitynotifier.h>
#include <utils/markingcode.h>
#include <utils/tr.h>

namespace Log4Qt {
class Logger;
}

/// What a local module says of itself.
enum class LmchzStatus : int {
    Unknown = 0,         ///< no reply, another text, or no such module: not usable
    Initialization = 1,  ///< initialising: not usable
    Ready = 2,           ///< usable
    NotConfigured = 3,   ///< waits for the init request
    SyncError = 4,       ///< failed to synchronise: not usable
};

/// The client of the on-premises local marking modules. Several may be configured ("LMCHZ*" sections); each
/// is known by its token, which is the API key under which checks for it arrive.
///
/// Every request goes to the current module, the one that the last successful getStatus() selected, and has
/// an HTTP client of its own. The settings are read once, at construction.
///
/// The reply to a check, an initialisation or a grey list counts when its HTTP status is 200 and it is
/// complete or at least holds a readable JSON object; a 200 that was cut off before that is no answer. For
/// that to a status see getStatus().
///
/// Threads: any. One exchange at a time, in order of arrival: every operation waits for those that came
/// before, each of which takes at most a few time-outs. takeTurn() makes one exchange of several calls.
/// Nothing throws: failures are in the returned values, in the log ("lmchz") and in host notifications
/// (id "Lmchz"), which are shown once the exchange is over.
class LmchzClient
{
public:
    /// A method of the module's interface.
    enum Method : int { Init = 0, Status = 1, OutCheck = 2, GreyList = 3 };

    /// Reads the configuration. When any module is to be maintained, init() runs before every event 96 from
    /// then on, until the object is destroyed.
    LmchzClient();
    LmchzClient(const LmchzClient&) = delete;
    LmchzClient& operator=(const LmchzClient&) = delete;
    virtual ~LmchzClient() = default;

    /// Waits for the exchanges that came before, for `limit` at most; the lock owns nothing when that has
    /// passed. While it is kept, the calls of this thread are one exchange: nobody else makes another module
    /// current.
    [[nodiscard]] std::unique_lock<FairMutex> takeTurn(std::chrono::nanoseconds limit);

    /// The module's status, a value of LmchzStatus, as its reply names it whatever the HTTP status. Makes the
    /// module current when `token` is known.
    virtual int getStatus(const QString& token);

    /// Checks codes at the module of `token`. The result holds the requested codes only, as they were given,
    /// and of the module's reply only passedCodes, failedCodes, requestInfos and mrps; a code that the module
    /// did not answer for is in none of them, and a reply without results is a success without codes. When
    /// the module is not ready or does not answer, a copy of `onlineResult`.
    virtual CheckMarkingCodesResult checkMarkingCodes(const CheckMarkingCodesResult& onlineResult,
                                                      const QList<MarkingCode>& codes, const QString& token);

    /// Brings every maintained module into the configured state: initialises the ones that are not
    /// configured, switches the grey lists of the ones that are ready.
    void init(const Event& event);

    /// Switches the grey lists of the current module; `token` is what the module is told.
    void toggleGreyListByToken(const QString& token, bool enable);

    /// A new HTTP client for the current module.
    [[nodiscard]] QSharedPointer<RestClient> createClient() const;
    /// URL of a method on the current module, the module's own path in front; that path alone for a number
    /// that is no method.
    [[nodiscard]] QUrl getUrl(LmchzClient::Method method) const;
    [[nodiscard]] QHash<QString, QString> getHeaders() const;

    /// Logs the message and shows it to the cashier once this thread's exchange is over: listeners may wait
    /// for a thread that wants a check.
    void sendErrorNotification(const tr::Tr& text) const;

private:
    struct Module
    {
        QString url;
        QString user;
        QString password;
        int timeout = 0;  // seconds
        bool maintain = false;
        std::optional<bool> enableGreyList;  // unset: the module's own setting stays
    };

    [[nodiscard]] Module currentModule() const { return settings.value(currentToken); }
    /// Reads one section; true when it describes a module that is to be maintained.
    bool readSection(const QString& section);
    [[nodiscard]] static bool isAnswered(const http::Response& reply);
    void maintainModule(const QString& token, const Module& module);
    void initModule(const QString& token, const Module& module);
    [[nodiscard]] http::Response post(Method method, const QJsonObject& body) const;

    mutable FairMutex exchangeMutex;  // guards currentToken through a whole exchange
    QString currentToken;
    QMap<QString, Module> settings;  // by token
    Log4Qt::Logger* const logger;
    // The last member: destroyed, and so taken back, before anything that init() uses.
    ActivityNotifier::Registration trigger;
};
