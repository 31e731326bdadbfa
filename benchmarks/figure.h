#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <QJsonObject>
#include <QList>
#include <QString>

namespace bench {

/// One comparison: two things measured in one run, by turns.
struct Row
{
    QString what;
    double ours = 0;
    double other = 0;               ///< 0: there is nothing to compare with, and `value` is given
    double goal = 0;                ///< the value may not be above it
    std::optional<double> value{};  ///< what the goal is about; ours / other when it is not given
    QString unit = "µs";            ///< of `ours` and `other`

    [[nodiscard]] double ratio() const { return value ? *value : ours / other; }
    [[nodiscard]] bool isMet() const { return ratio() <= goal; }
};

/// What one benchmark comes to.
struct Figure
{
    QString title;
    QString ourName;
    QString otherName;
    std::vector<Row> rows{};
};

/// What `--json` keeps of a figure.
[[nodiscard]] QJsonObject toJson(const Figure& figure);
/// A table in Markdown of one or more runs of one benchmark, each what toJson() made of it: values of the
/// last, ratios of all, and whether the goal is met. Throws std::runtime_error when they are of different
/// benchmarks.
[[nodiscard]] QString toMarkdown(const QList<QJsonObject>& runs);
/// Bars of the ratios, a cross at each goal, with gnuplot. Throws std::runtime_error when that fails.
void draw(const Figure& figure, const QString& svgFile);

/// "1 code", "10,000 codes".
[[nodiscard]] QString countedCodes(int count);

/// How long this takes.
[[nodiscard]] double microseconds(const std::function<void()>& work);
/// Each side gives a time of its own; their medians. Who is first changes from round to round; some rounds
/// more come before those that count.
[[nodiscard]] std::vector<double> mediansByTurns(const std::vector<std::function<double()>>& sides,
                                                 int rounds);
[[nodiscard]] double median(std::vector<double> values);

/// Verification actions through the plug-in against what any Qt client must do.
[[nodiscard]] Figure measureCheck();
/// A reply to a result, against the reading of the JSON alone.
[[nodiscard]] Figure measureReply();
/// How the instructions of what is done with a result grow with the number of codes.
[[nodiscard]] Figure measureGrowth();
/// Checks while sites are dead, against two load balancers and a bare libcurl loop.
[[nodiscard]] Figure measureFailover();
/// What the plug-in does while nothing is asked of it.
[[nodiscard]] Figure measureIdle();

/// Does this work so that callgrind, under which the process runs, counts what it is about: one of those that
/// measureGrowth() names, "check" or "floor".
void countInstructions(const QString& work, int codes);

}  // namespace bench
