#pragma once

#include "behaviour.h"
#include "temporaryfolder.h"

#include <boost/asio/ssl/context.hpp>
#include <map>
#include <string>

namespace marksim {

/// A certificate authority of this process alone and the server certificates that it signed, good and bad
/// ones.
class Certificates
{
public:
    /// Makes them all, for servers at `address`, and writes the authority's certificate to a temporary file.
    /// Throws std::runtime_error.
    explicit Certificates(const std::string& address);

    [[nodiscard]] boost::asio::ssl::context& context(Certificate certificate)
    {
        return contexts_.at(certificate);
    }
    /// PEM; the file lives as long as this object.
    [[nodiscard]] const std::string& caFile() const { return caFile_; }

private:
    TemporaryFolder folder_;
    std::string caFile_;
    std::map<Certificate, boost::asio::ssl::context> contexts_;
};

}  // namespace marksim
