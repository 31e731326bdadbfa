#pragma once

#include <QJsonObject>
#include <QString>
#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// A marksim of its own. Ends with the object at the latest.
class StandProcess
{
public:
    explicit StandProcess(const std::vector<std::string>& arguments = {});
    ~StandProcess();
    StandProcess(const StandProcess&) = delete;
    StandProcess& operator=(const StandProcess&) = delete;

    /// The line that it printed when ready; empty when it ended without one.
    [[nodiscard]] const QJsonObject& ready() const { return ready_; }
    [[nodiscard]] std::string admin() const;
    /// Base address of a server, by its name.
    [[nodiscard]] std::string url(const std::string& server) const;
    [[nodiscard]] std::string key() const;
    [[nodiscard]] pid_t pid() const { return pid_; }

    void signal(int number) const;
    /// The exit status once it has ended, -1 when a signal ended it; empty when it has not ended in time.
    [[nodiscard]] std::optional<int> exitStatus(std::chrono::seconds patience = std::chrono::seconds(20));
    /// All that came on the two streams beyond the ready line; to be called after the end.
    [[nodiscard]] std::string restOfOutput() const;
    [[nodiscard]] std::string errors() const;

private:
    [[nodiscard]] std::string readLine() const;

    pid_t pid_ = -1;
    int output_ = -1;
    int errors_ = -1;
    QJsonObject ready_;
    std::optional<int> status_;
};

/// Reads until the end of the stream, for at most `patience`.
[[nodiscard]] std::string readToEnd(int descriptor, std::chrono::seconds patience = std::chrono::seconds(20));

[[nodiscard]] QJsonObject toObject(const std::string& json);
[[nodiscard]] std::string toJson(const QJsonObject& object);
