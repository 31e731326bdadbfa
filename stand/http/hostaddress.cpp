#include "stand/http/hostaddress.h"

#include "stand/scenario/schema.h"

#include <QRegularExpression>
#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <optional>
#include <vector>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;
using boost::asio::ip::address;

/// An address without its brackets; nothing for a name.
std::optional<address> parseAddress(const std::string& host)
{
    const bool isBracketed = host.starts_with('[') && host.ends_with(']');
    boost::system::error_code error;
    const auto parsed =
        boost::asio::ip::make_address(isBracketed ? host.substr(1, host.size() - 2) : host, error);
    return error ? std::nullopt : std::optional(parsed);
}

std::string inUrl(const address& address)
{
    return address.is_v6() ? '[' + address.to_string() + ']' : address.to_string();
}

std::optional<address> addressOf(const ifaddrs& interface)
{
    const bool isUp = (interface.ifa_flags & IFF_UP) != 0;
    if (!isUp || !interface.ifa_addr) {
        return std::nullopt;
    }
    boost::asio::ip::tcp::endpoint endpoint;
    const auto family = interface.ifa_addr->sa_family;
    if (family != AF_INET && family != AF_INET6) {
        return std::nullopt;
    }
    const auto size = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    std::copy_n(reinterpret_cast<const char*>(interface.ifa_addr), size,
                reinterpret_cast<char*>(endpoint.data()));
    endpoint.resize(size);
    return endpoint.address();
}

/// The addresses of this machine that other machines can reach, in the system's order.
std::vector<address> reachableAddresses()
{
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    std::vector<address> found;
    for (const auto* interface = list; interface; interface = interface->ifa_next) {
        const auto address = addressOf(*interface);
        if (address && !address->is_loopback() && !(address->is_v6() && address->to_v6().is_link_local())) {
            found.push_back(*address);
        }
    }
    return found;
}

/// Of the family that `wildcard` belongs to; a port bound to :: takes IPv4, too.
address reachableAddress(const address& wildcard)
{
    const auto all = reachableAddresses();
    auto found = std::ranges::find(all, wildcard.is_v6(), &address::is_v6);
    if (found == all.end() && wildcard.is_v6()) {
        found = all.begin();
    }
    if (found == all.end()) {
        throw InputError(
            u"%1: this machine has no address that others can reach; give --public-address"_s.arg(
                QString::fromStdString(wildcard.to_string())));
    }
    return *found;
}

}  // namespace

HostAddress HostAddress::of(const std::string& bind, const std::string& publicHost)
{
    if (!publicHost.empty()) {
        const auto address = parseAddress(publicHost);
        return {bind, address ? inUrl(*address) : publicHost};
    }
    const auto address = boost::asio::ip::make_address(bind);
    return {bind, inUrl(address.is_unspecified() ? reachableAddress(address) : address)};
}

bool isLoopback(const std::string& bind)
{
    return boost::asio::ip::make_address(bind).is_loopback();
}

std::string hostProblem(const std::string& text)
{
    static const QRegularExpression name(
        uR"(\A[A-Za-z0-9]([A-Za-z0-9_-]*[A-Za-z0-9])?(\.[A-Za-z0-9]([A-Za-z0-9_-]*[A-Za-z0-9])?)*\z)"_s);
    const auto address = parseAddress(text);
    if (address ? !address->is_unspecified() : name.match(QString::fromStdString(text)).hasMatch()) {
        return {};
    }
    return "\"" + text + "\" is not a host name or an address that others can connect to";
}

std::string alternativeName(const std::string& host)
{
    const auto address = parseAddress(host);
    return address ? "IP:" + address->to_string() : "DNS:" + host;
}

}  // namespace marksim
