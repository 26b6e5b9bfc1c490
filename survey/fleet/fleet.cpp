#include "survey/fleet/fleet.h"

#include <algorithm>
#include <cmath>

namespace survey {
namespace {

const Session& sessionFor(const Survey& survey) {
    const auto found = std::find_if(survey.sessions.rbegin(), survey.sessions.rend(),
                                    [](const Session& it) { return it.complete; });
    return found != survey.sessions.rend() ? *found : survey.sessions.back();
}

/// A host's figure of the point under comparison.
struct Entry {
    std::size_t host;
    const FleetHost::Figure* figure;
};

/// A point of a group with all its figures.
struct PointRow {
    std::size_t point = 0;
    std::vector<Entry> entries;
    std::size_t trusted = 0;
    double usual = 0;      ///< the median of the trusted figures
    double deviation = 0;  ///< of one of them, as a share of the median

    [[nodiscard]] std::size_t peersOf(const Entry& entry) const {
        return trusted - (entry.figure->verdict == Verdict::ok ? 1 : 0);
    }
};

/// Their median absolute deviation, as the standard deviation that normal figures with it have.
void measureSpread(PointRow& row) {
    std::vector<double> values;
    for (const Entry& entry : row.entries)
        if (entry.figure->verdict == Verdict::ok)
            values.push_back(entry.figure->value);
    row.trusted = values.size();
    if (values.empty())
        return;
    row.usual = median(values);
    for (double& value : values)
        value = std::abs(value / row.usual - 1);
    // What one session cannot tell apart is no deviation, however well a few hosts agree.
    constexpr double fromMedian = 1.4826, finest = 0.005;
    row.deviation = std::max(fromMedian * median(std::move(values)), finest);
}

/// The root mean square of the deviations of a point's neighbours in size, itself among them.
double deviationAround(const std::vector<PointRow>& rows, std::size_t at,
                       const std::vector<Parameters>& points) {
    constexpr std::size_t reach = 2;
    double squares = 0;
    std::size_t count = 0;
    for (std::size_t i = at - std::min(at, reach); i < rows.size() && i <= at + reach; ++i) {
        Parameters ofThisSize = points[rows[i].point];
        ofThisSize.sizeBytes = points[rows[at].point].sizeBytes;
        if (rows[i].trusted < fewestPeers || ofThisSize != points[rows[at].point])
            continue;
        squares += rows[i].deviation * rows[i].deviation;
        ++count;
    }
    return count != 0 ? std::sqrt(squares / static_cast<double>(count)) : rows[at].deviation;
}

/// Few hosts may agree by chance; then what neighbours tell counts for more. It never makes a
/// deviation smaller.
double soundDeviation(const PointRow& row, double around) {
    constexpr double weightAround = 20;
    const auto weight = static_cast<double>(row.trusted);
    const double blended =
        std::sqrt((weight * row.deviation * row.deviation + weightAround * around * around) /
                  (weight + weightAround));
    return std::max(row.deviation, blended);
}

/// The group's points that have figures, in the order of their parameters, which is that of sizes
/// where all else is equal.
std::vector<PointRow> rowsOf(const FleetGroup& group, const Fleet& fleet) {
    std::vector<PointRow> rows(fleet.points.size());
    for (std::size_t point = 0; point < rows.size(); ++point)
        rows[point].point = point;
    for (const std::size_t host : group.hosts)
        for (const FleetHost::Figure& figure : fleet.hosts[host].figures)
            if (figure.verdict == Verdict::ok || figure.verdict == Verdict::noisy)
                rows[figure.point].entries.push_back({host, &figure});
    std::erase_if(rows, [](const PointRow& row) { return row.entries.empty(); });
    // The size last: neighbours then differ in nothing else.
    std::ranges::sort(rows, {}, [&](const PointRow& row) {
        Parameters rest = fleet.points[row.point];
        const auto size = std::exchange(rest.sizeBytes, std::nullopt);
        return std::pair(std::move(rest), size);
    });
    for (PointRow& row : rows)
        measureSpread(row);
    return rows;
}

void findOutliers(FleetGroup& group, const Fleet& fleet) {
    const std::vector<PointRow> rows = rowsOf(group, fleet);
    group.points = rows.size();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const PointRow& row = rows[i];
        if (row.trusted < fewestPeers)
            continue;
        const double deviation = soundDeviation(row, deviationAround(rows, i, fleet.points));
        bool compared = false;
        for (const Entry& entry : row.entries) {
            const std::size_t peers = row.peersOf(entry);
            if (peers < fewestPeers)
                continue;
            compared = true;
            const double difference = entry.figure->value / row.usual - 1;
            const double z = std::abs(difference) / deviation;
            if (z >= outlyingDeviations && std::abs(difference) >= outlyingShare)
                group.outliers.push_back({entry.host, row.point, entry.figure->value, row.usual,
                                          difference, z, peers, entry.figure->verdict,
                                          entry.figure->cause});
        }
        group.compared += compared ? 1 : 0;
    }
    std::ranges::stable_sort(group.outliers, std::greater(), &Outlier::z);
}

void findOtherPlans(FleetGroup& group, const Fleet& fleet) {
    std::vector<std::size_t> hostsWith(fleet.points.size());
    for (const std::size_t host : group.hosts)
        for (const FleetHost::Figure& figure : fleet.hosts[host].figures)
            ++hostsWith[figure.point];
    const auto isUsual = [&](std::size_t hosts) { return 2 * hosts > group.hosts.size(); };
    const auto usual = std::ranges::count_if(hostsWith, isUsual);
    for (const std::size_t host : group.hosts) {
        const auto own = std::ranges::count_if(fleet.hosts[host].figures, [&](const auto& it) {
            return isUsual(hostsWith[it.point]);
        });
        if (2 * own < usual)
            group.ofAnotherPlan.push_back(host);
    }
}

}  // namespace

std::size_t FleetHost::trusted() const {
    return static_cast<std::size_t>(std::ranges::count(figures, Verdict::ok, &Figure::verdict));
}

bool FleetHost::noisy() const {
    const auto measured =
        std::ranges::count_if(figures, [](const Figure& it) { return it.value > 0; });
    return 2 * trusted() < static_cast<std::size_t>(measured);
}

void Fleet::add(const std::string& file, const Survey& survey) {
    const Session& session = sessionFor(survey);
    FleetHost host{.file = file,
                   .name = survey.host.name,
                   .processor = survey.host.processor,
                   .plan = session.plan,
                   .session = session.id,
                   .complete = session.complete,
                   .figures = {}};
    for (const Point& point : session.points) {
        const auto place = places.try_emplace(point.parameters, points.size());
        if (place.second)
            points.push_back(point.parameters);
        host.figures.push_back({place.first->second, point.summary.value, point.verdict,
                                point.causes.empty() ? "" : point.causes.front()});
    }
    hosts.push_back(std::move(host));
}

std::vector<FleetGroup> compareHosts(const Fleet& fleet) {
    std::vector<FleetGroup> groups;
    for (std::size_t host = 0; host < fleet.hosts.size(); ++host) {
        const std::string& processor = fleet.hosts[host].processor;
        auto group = std::ranges::find(groups, processor, &FleetGroup::processor);
        if (group == groups.end()) {
            groups.emplace_back().processor = processor;
            group = groups.end() - 1;
        }
        group->hosts.push_back(host);
    }
    for (FleetGroup& group : groups) {
        findOutliers(group, fleet);
        findOtherPlans(group, fleet);
    }
    return groups;
}

}  // namespace survey
