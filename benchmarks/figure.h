#pragma once

#include <optional>
#include <vector>

#include <QString>

namespace bench {

/// One comparison: two things measured in one run, by turns.
struct Row
{
    QString what;
    QString unit;  ///< of `ours` and `other`
    double ours = 0;
    double other = 0;             ///< 0: there is nothing to compare with
    std::optional<double> value;  ///< what the goal is about; by default ours / other
    std::optional<double> goal;   ///< the value may not be above it
    QString note;

    [[nodiscard]] std::optional<double> ratio() const;
    [[nodiscard]] bool isMet() const { return !goal || !ratio() || *ratio() <= *goal; }
};

/// What one benchmark comes to.
struct Figure
{
    QString name;
    QString title;
    QString ourName;
    QString otherName;
    std::vector<Row> rows;
};

/// "1 code", "10,000 codes".
[[nodiscard]] QString counted(int count, const QString& what);
/// "2,535 µs", "0.0824 ms"; empty for 0, which is nothing to compare with.
[[nodiscard]] QString measured(double value, const QString& unit);

/// As a table for people; with the word "MISSED" where a goal is not met.
[[nodiscard]] QString toTable(const Figure& figure);
[[nodiscard]] QByteArray toJson(const std::vector<Figure>& figures);
/// Tables in Markdown of several runs, each what toJson() made of one: times of the last, ratios of all.
/// Throws std::runtime_error when one of them is something else or has other figures.
[[nodiscard]] QByteArray toMarkdown(const std::vector<QByteArray>& runs);
/// Bars, as SVG.
[[nodiscard]] QByteArray toPicture(const Figure& figure);

/// The value that a share of them does not exceed; `share` from 0 to 1. Not of an empty list.
[[nodiscard]] double percentile(std::vector<double> values, double share);
[[nodiscard]] inline double median(std::vector<double> values)
{
    return percentile(std::move(values), 0.5);
}
/// The power of n that the costs grow with: the slope of a straight line through the logarithms.
[[nodiscard]] double exponent(const std::vector<double>& sizes, const std::vector<double>& costs);

}  // namespace bench
