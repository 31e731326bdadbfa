#pragma once

#include "stand/http/listener.h"
#include "stand/scenario/schema.h"

#include <QJsonObject>
#include <map>

namespace marksim {

class AdminApi;
class Stand;
struct Options;

/// One call of a method of the admin port.
struct AdminCall
{
    const AdminApi& admin;
    Stand& stand;
    const Request& request;
    const std::map<std::string, std::string>& parameters;
    QString name;  ///< what follows the path of the method: the name of a server, the code of a good
};

/// One method: a path of its own, or one with a name at its end when it ends with "/".
struct AdminRoute
{
    std::string_view verb;
    std::string_view path;
    /// Gives the answer. Throws InputError (400) or NotFound (404), with nothing changed.
    Answer (*handle)(const AdminCall& call);
    bool takesBody = false;
    std::vector<std::string_view> parameters = {};  ///< that it knows
};

/// There is no such thing.
class NotFound : public InputError
{
public:
    using InputError::InputError;
};

/// All methods.
[[nodiscard]] const std::vector<AdminRoute>& adminRoutes();

/// The admin port: looks into the stand and changes how it behaves while it runs. All that it changes is in
/// memory, and bounded: what does not fit is refused.
class AdminApi : public Service
{
public:
    /// Opens the port. Throws InputError when it cannot be had.
    AdminApi(boost::asio::io_context& io, Stand& stand, const Options& options);

    /// What is printed when ready: all addresses and credentials.
    [[nodiscard]] QJsonObject ready() const;
    /// The same with the state of every server.
    [[nodiscard]] QJsonObject state() const;

    void serve(Request request, const ConnectionInfo& connection,
               std::function<void(Exchange)> done) override;
    [[nodiscard]] Exchange refuse(int status, const QString& reason) const override;
    [[nodiscard]] std::uint64_t maxBodyBytes() const override { return 4UL * 1024 * 1024; }

private:
    [[nodiscard]] Answer answer(const Request& request) const;
    [[nodiscard]] Answer call(const AdminRoute& route, const Request& request, const Target& target) const;
    /// With the addresses of this port.
    [[nodiscard]] QJsonObject withAdmin(QJsonObject state) const;

    Stand& m_stand;
    bool m_hasPage;
    std::string m_publicHost;
    Listener m_listener;
};

}  // namespace marksim
