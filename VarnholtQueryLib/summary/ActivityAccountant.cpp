#include "summary/ActivityAccountant.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "MomentBuckets.h"
#include "platform/LocalCalendar.h"
#include "redaction/DeduplicationService.h"

namespace VarnholtQueryLib {

namespace {

// One key per (kind, value), unambiguous whatever the texts hold.
std::string pairKey(const EntityPair& pair) {
    return std::to_string(pair.first.size()) + ":" + pair.first + pair.second;
}

bool ranksBefore(const ApplicationTime& a, const ApplicationTime& b) {
    const auto secondsA = wholeSeconds(a.seconds);
    const auto secondsB = wholeSeconds(b.seconds);
    if (secondsA != secondsB) return secondsA > secondsB;
    return a.name < b.name;
}

bool ranksBefore(const EntityTime& a, const EntityTime& b) {
    const auto secondsA = wholeSeconds(a.seconds);
    const auto secondsB = wholeSeconds(b.seconds);
    if (secondsA != secondsB) return secondsA > secondsB;
    if (a.kind != b.kind) return a.kind < b.kind;
    return a.value < b.value;
}

}  // namespace

std::int64_t wholeSeconds(double seconds) { return std::llround(seconds); }

ActivityAccountant::ActivityAccountant(const LocalCalendar& calendar, double idleSeconds,
                                       double coverEnd, std::optional<std::string> kind)
    : calendar_(calendar), idleSeconds_(idleSeconds), coverEnd_(coverEnd), kind_(std::move(kind)) {}

void ActivityAccountant::restart() {
    ties_.clear();
    previousTime_.reset();
    activeSeconds_ = 0;
    rows_ = 0;
    firstActivity_.reset();
    lastActivity_.reset();
    applications_.clear();
    applicationByKey_.clear();
    entities_.clear();
    entityByPair_.clear();
    sessions_.clear();
    days_.clear();
    dayStart_ = dayEnd_ = 0;
}

void ActivityAccountant::add(ActivityRow row) {
    if (!ties_.empty() && row.time != ties_.front().time) {
        if (row.time < ties_.front().time) throw std::logic_error("Activity rows out of time order");
        settleTies(row.time);
    }
    ties_.push_back(std::move(row));
}

void ActivityAccountant::settleTies(std::optional<double> nextTime) {
    // Among equal times only the last row covers anything, so which row is
    // last must not be left to the database: id, then sequence, decide.
    std::sort(ties_.begin(), ties_.end(), [](const ActivityRow& a, const ActivityRow& b) {
        if (a.id != b.id) return a.id < b.id;
        return a.sequence < b.sequence;
    });
    const double time = ties_.front().time;
    const double lastCover = nextTime ? std::min(*nextTime - time, idleSeconds_)
                                      : std::clamp(coverEnd_ - time, 0.0, idleSeconds_);
    for (std::size_t i = 0; i < ties_.size(); ++i) {
        count(ties_[i], i + 1 < ties_.size() ? 0.0 : lastCover);
    }
    ties_.clear();
}

void ActivityAccountant::count(ActivityRow& row, double cover) {
    const bool startsSession = !previousTime_ || row.time - *previousTime_ > idleSeconds_;
    previousTime_ = row.time;
    DayTally& day = dayOf(row.time);
    if (startsSession) {
        sessions_.push_back({});
        sessions_.back().start = row.time;
        ++day.sessionCount;
    }
    SessionTally& session = sessions_.back();
    session.lastTime = row.time;
    session.lastCover = cover;
    session.activeSeconds += cover;
    ++session.rows;

    activeSeconds_ += cover;
    ++rows_;
    if (!firstActivity_) firstActivity_ = row.time;
    lastActivity_ = row.time;

    if (day.rows == 0) day.firstActivity = row.time;
    day.lastActivity = row.time;
    day.activeSeconds += cover;
    ++day.rows;

    countApplications(row, cover, session, day);
    countEntities(row, cover);

    // A time without a moment (none that a range reaches) joins the moment
    // before it.
    const std::int64_t moment = RecentWorkTimelineCore::bucketStartOf(row.time, kMomentSeconds)
                                    .value_or(session.moments.empty() ? 0 : session.moments.back().start);
    if (session.moments.empty() || session.moments.back().start != moment) {
        session.moments.push_back({moment, 0, row.sequence, std::move(row.description)});
    }
    ++session.moments.back().rows;
}

ActivityAccountant::DayTally& ActivityAccountant::dayOf(double time) {
    if (days_.empty() || !(time >= dayStart_ && time < dayEnd_)) {
        std::string date = calendar_.localDate(time);
        dayStart_ = calendar_.startOfDay(time);
        dayEnd_ = calendar_.startOfDay(calendar_.addingDays(dayStart_, 1));
        // Where the calendar cannot say where the day ends (at its limits),
        // every time asks again.
        if (!(dayStart_ <= time && time < dayEnd_)) dayStart_ = dayEnd_ = 0;
        if (days_.empty() || days_.back().date != date) {
            days_.push_back({});
            days_.back().date = std::move(date);
        }
    }
    return days_.back();
}

const std::string& ActivityAccountant::keyOf(const std::string& name) {
    auto found = keyByName_.find(name);
    if (found == keyByName_.end()) {
        found = keyByName_.emplace(name, DeduplicationService::nameKey(name)).first;
    }
    return found->second;
}

void ActivityAccountant::countApplications(const ActivityRow& row, double cover, SessionTally& session,
                                           DayTally& day) {
    std::vector<std::size_t> listed;
    for (const std::string& name : row.apps) {
        const std::string& key = keyOf(name);
        auto found = applicationByKey_.find(key);
        if (found == applicationByKey_.end()) {
            // Rows arrive oldest first, so the first spelling met is the
            // earliest row's.
            found = applicationByKey_.emplace(key, applications_.size()).first;
            applications_.push_back({name, 0, 0});
        }
        const std::size_t application = found->second;
        if (std::find(listed.begin(), listed.end(), application) != listed.end()) continue;
        listed.push_back(application);
        applications_[application].seconds += cover;
        ++applications_[application].observationCount;
        for (ApplicationSeconds* part : {&session.applications, &day.applications}) {
            Visibility& visibility = (*part)[application];
            visibility.seconds += cover;
            ++visibility.rows;
        }
    }
}

void ActivityAccountant::countEntities(const ActivityRow& row, double cover) {
    std::unordered_set<std::string> listed;
    for (const EntityPair& pair : row.entities) {
        if (kind_ && pair.first != *kind_) continue;
        std::string key = pairKey(pair);
        if (!listed.insert(key).second) continue;
        auto found = entityByPair_.find(key);
        if (found == entityByPair_.end()) {
            found = entityByPair_.emplace(std::move(key), entities_.size()).first;
            entities_.push_back({pair.first, pair.second, 0, 0, row.time, row.time});
        }
        EntityTime& entity = entities_[found->second];
        entity.seconds += cover;
        ++entity.count;
        entity.lastSeen = row.time;
    }
}

std::vector<ApplicationTime> ActivityAccountant::ranked(const ApplicationSeconds& seconds) const {
    std::vector<ApplicationTime> ranking;
    ranking.reserve(seconds.size());
    for (const auto& [application, visible] : seconds) {
        ranking.push_back({applications_[application].name, visible.seconds, visible.rows});
    }
    std::sort(ranking.begin(), ranking.end(),
              [](const ApplicationTime& a, const ApplicationTime& b) { return ranksBefore(a, b); });
    return ranking;
}

std::vector<Highlight> ActivityAccountant::highlightsOf(const SessionTally& session,
                                                        DescriptionSource& descriptions) const {
    std::vector<const Moment*> busiest;
    busiest.reserve(session.moments.size());
    for (const Moment& moment : session.moments) busiest.push_back(&moment);
    std::stable_sort(busiest.begin(), busiest.end(),
                     [](const Moment* a, const Moment* b) { return a->rows > b->rows; });

    std::vector<Highlight> highlights;
    std::unordered_set<std::string> shown;
    for (const Moment* moment : busiest) {
        if (highlights.size() == kHighlightsPerSession) break;
        std::string description = moment->firstDescription ? *moment->firstDescription
                                                            : descriptions.descriptionOf(moment->firstSequence);
        if (!shown.insert(description).second) continue;
        highlights.push_back({static_cast<double>(moment->start), static_cast<int>(highlights.size()),
                              std::move(description)});
    }
    std::sort(highlights.begin(), highlights.end(),
              [](const Highlight& a, const Highlight& b) { return a.momentStart < b.momentStart; });
    return highlights;
}

ActivityAccount ActivityAccountant::close(DescriptionSource& descriptions) {
    if (!ties_.empty()) settleTies(std::nullopt);

    ActivityAccount account;
    account.activeSeconds = activeSeconds_;
    account.observationCount = rows_;
    account.firstActivity = firstActivity_;
    account.lastActivity = lastActivity_;
    for (const SessionTally& tally : sessions_) {
        ActivitySession session;
        session.start = tally.start;
        session.end = tally.lastTime + tally.lastCover;
        session.activeSeconds = tally.activeSeconds;
        session.observationCount = tally.rows;
        session.applications = ranked(tally.applications);
        session.highlights = highlightsOf(tally, descriptions);
        account.sessions.push_back(std::move(session));
    }
    account.applications = applications_;
    std::sort(account.applications.begin(), account.applications.end(),
              [](const ApplicationTime& a, const ApplicationTime& b) { return ranksBefore(a, b); });
    account.entities = entities_;
    std::sort(account.entities.begin(), account.entities.end(),
              [](const EntityTime& a, const EntityTime& b) { return ranksBefore(a, b); });
    for (const DayTally& tally : days_) {
        account.days.push_back({tally.date, tally.activeSeconds, tally.rows, tally.firstActivity,
                                tally.lastActivity, tally.sessionCount, ranked(tally.applications)});
    }
    return account;
}

}  // namespace VarnholtQueryLib
