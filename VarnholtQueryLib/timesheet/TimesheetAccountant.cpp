#include "timesheet/TimesheetAccountant.h"

#include <algorithm>
#include <utility>

#include "redaction/PIIFilter.h"
#include "selection/RowSelector.h"
#include "timesheet/DescriptionTerms.h"

namespace VarnholtQueryLib {

namespace {

// Descriptions whose terms are kept at most: consecutive rows often repeat
// one, and a day repeats a few hundred; bounded for a range of millions.
constexpr std::size_t kTermsKept = 4096;

}  // namespace

TimesheetAccountant::TimesheetAccountant(const LocalCalendar& calendar, TimesheetRules rules,
                                         RowSelector& categories, DescriptionSource& descriptions)
    : rules_(rules),
      categories_(categories),
      descriptions_(descriptions),
      covers_(rules.idleSeconds, rules.coverEnd, [this](ActivityRow& row, double cover) { count(row, cover); }),
      days_(calendar, rules.rangeStart, rules.coverEnd) {
    restart();
}

void TimesheetAccountant::restart() {
    covers_.restart();
    activeSeconds_ = 0;
    rows_ = 0;
    parts_.assign(rules_.categories + 1, TimesheetPart{});
    spans_.assign(rules_.categories + 1, CategorySpans(rules_.idleSeconds));
    days_.restart();
    dayActive_.assign(days_.dates().size(), 0.0);
    dayParts_.assign(days_.dates().size(), {});
    applications_ = ApplicationTally();
    entities_ = EntityTally();
    terms_.clear();
}

void TimesheetAccountant::add(ActivityRow row) { covers_.add(std::move(row)); }

const std::vector<std::string>& TimesheetAccountant::termsOf(const std::string& description) {
    auto found = termsOfDescription_.find(description);
    if (found == termsOfDescription_.end()) {
        if (termsOfDescription_.size() >= kTermsKept) termsOfDescription_.clear();
        found = termsOfDescription_
                    .emplace(description, DescriptionTerms::termsOf(PIIFilter::redact(description)))
                    .first;
    }
    return found->second;
}

void TimesheetAccountant::count(ActivityRow& row, double cover) {
    const std::size_t part =
        categories_.firstMatchingSet({row.rowid, row.apps, row.entities}).value_or(rules_.categories);
    if (!row.description) row.description = descriptions_.descriptionOf(row.sequence);

    activeSeconds_ += cover;
    ++rows_;
    TimesheetPart& tally = parts_[part];
    tally.seconds += cover;
    ++tally.observationCount;
    spans_[part].add(row.time, cover, *row.description);

    const std::size_t day = days_.dayOf(row.time);
    if (day == dayActive_.size()) {
        dayActive_.push_back(0);
        dayParts_.emplace_back();
    }
    dayActive_[day] += cover;
    std::vector<double>& seconds = dayParts_[day];
    if (seconds.empty()) seconds.assign(parts_.size(), 0.0);
    seconds[part] += cover;

    if (part != rules_.categories) return;
    applications_.add(row.apps, cover);
    entities_.add(row.entities, row.time, cover);
    for (const std::string& term : termsOf(*row.description)) terms_[term] += cover;
}

TimesheetAccount TimesheetAccountant::close() {
    covers_.close();

    TimesheetAccount account;
    account.activeSeconds = activeSeconds_;
    account.observationCount = rows_;
    const std::vector<std::string>& dates = days_.dates();
    for (std::size_t day = 0; day < dates.size(); ++day) account.days.push_back({dates[day], dayActive_[day]});
    for (std::size_t part = 0; part < parts_.size(); ++part) {
        TimesheetPart& tally = parts_[part];
        tally.spans = spans_[part].close();
        tally.daySeconds.assign(dates.size(), 0.0);
        for (std::size_t day = 0; day < dates.size(); ++day) {
            if (!dayParts_[day].empty()) tally.daySeconds[day] = dayParts_[day][part];
        }
    }
    account.uncategorized = std::move(parts_.back());
    parts_.pop_back();
    account.categories = std::move(parts_);

    account.suggestions.applications = applications_.ranked();
    account.suggestions.entities = entities_.ranked();
    for (auto& [term, seconds] : terms_) account.suggestions.terms.push_back({term, seconds});
    std::sort(account.suggestions.terms.begin(), account.suggestions.terms.end(),
              [](const TermTime& a, const TermTime& b) {
                  const auto secondsA = wholeSeconds(a.seconds);
                  const auto secondsB = wholeSeconds(b.seconds);
                  if (secondsA != secondsB) return secondsA > secondsB;
                  return a.term < b.term;
              });
    return account;
}

}  // namespace VarnholtQueryLib
