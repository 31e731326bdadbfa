#include "httpclient.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

std::size_t appendBody(const char* bytes, std::size_t, std::size_t size, void* body)
{
    static_cast<std::string*>(body)->append(bytes, size);
    return size;
}

std::size_t appendHeader(const char* bytes, std::size_t, std::size_t size, void* headers)
{
    const std::string_view line(bytes, size);
    static_cast<std::vector<std::string>*>(headers)->emplace_back(line.substr(0, line.find('\r')));
    return size;
}

using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

HeaderList toList(const std::vector<std::string>& headers)
{
    HeaderList list(nullptr, &curl_slist_free_all);
    for (const auto& header : headers)
        list = HeaderList(curl_slist_append(list.release(), header.c_str()), &curl_slist_free_all);
    return list;
}

}  // namespace

bool Reply::hasHeader(const std::string& line) const
{
    return std::find(headers.begin(), headers.end(), line) != headers.end();
}

HttpClient::HttpClient()
    : handle_(curl_easy_init(), &curl_easy_cleanup)
{
}

Reply HttpClient::get(const std::string& url, const std::vector<std::string>& headers)
{
    return send("GET", url, {}, headers);
}

Reply HttpClient::send(const std::string& verb, const std::string& url, const std::string& body,
                       const std::vector<std::string>& headers)
{
    Reply reply;
    auto* curl = handle_.get();
    const auto list = toList(headers);
    curl_easy_reset(curl);
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, verb.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list.get());
    if (!body.empty() || verb == "POST" || verb == "PUT") {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.data());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    }
    curl_easy_setopt(curl, CURLOPT_EXPECT_100_TIMEOUT_MS, 60'000L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeout_.count()));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &appendHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply.headers);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    if (!caFile_.empty())
        curl_easy_setopt(curl, CURLOPT_CAINFO, caFile_.c_str());
    if (gzip_)
        curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "gzip");
    const auto start = std::chrono::steady_clock::now();
    reply.result = curl_easy_perform(curl);
    reply.elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    return reply;
}

Reply StandClient::check(const QStringList& codes, const std::string& site)
{
    auto headers = keyHeader();
    headers.emplace_back("Content-Type: application/json");
    return send("POST", stand_.url(site) + "/api/v4/true-api/codes/check",
                toJson({{"codes"_L1, QJsonArray::fromStringList(codes)}}), headers);
}

Reply StandClient::health(const std::string& server)
{
    return get(stand_.url(server) + "/api/v4/true-api/cdn/health/check", keyHeader());
}

void StandClient::behave(const std::string& server, const std::string& behaviours)
{
    const auto reply = admin("PUT", "/behaviours/" + server, behaviours);
    ASSERT_EQ(reply.status, 200) << behaviours << '\n' << reply.body;
}

Reply StandClient::admin(const std::string& verb, const std::string& path, const std::string& body)
{
    return send(verb, stand_.admin() + path, body);
}

QJsonArray StandClient::requests(const std::string& server)
{
    return admin("GET", "/requests?server=" + server).object()["requests"_L1].toArray();
}
