#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/CLIError.h"
#include "cli/Command.h"
#include "cli/CommandBuilders.h"
#include "timesheet/TimesheetCategories.h"

namespace VarnholtQueryLib {

class FileSystemPort;

// A timesheet, argument by argument, in the order the caller gives them:
// the period, --week-start, --idle and --max-chars exactly as a summary
// takes them (the same words, refused in the same words), the categories
// from --category texts, a --categories file or the tool's JSON, and the
// format. Each value is checked as it is given; build() checks the whole.
// Every refusal is an invalidTimeRange CLIError.
class TimesheetCommandBuilder {
public:
    TimesheetCommandBuilder();

    // The period and the rule's settings, as SummaryCommandBuilder takes them.
    void preset(const std::string& word) { period_.preset(word); }
    void since(const std::string& duration) { period_.since(duration); }
    void from(const std::string& text) { period_.from(text); }
    void to(const std::string& text) { period_.to(text); }
    void idle(const std::string& duration) { period_.idle(duration); }
    void weekStart(const std::string& day) { period_.weekStart(day); }
    void maxChars(const std::string& text) { period_.maxChars(text); }
    void maxChars(std::int64_t maxChars) { period_.maxChars(maxChars); }

    // One category as the command line writes it: NAME=RULE[|RULE...], the
    // name up to the first "=", the rules split at "|". Throws "--category
    // '<text>' must be NAME=RULE[|RULE...] ..." without an "=", and "Use
    // either --category or --categories, not both." after a file.
    void category(const std::string& text);
    // The categories of the JSON file at `path`, read through `files` now.
    // Throws "Use either --category or --categories, not both." after a
    // --category (before reading), "Give --categories once: ..." for a
    // second file, "Cannot read the categories file '<path>'." and the
    // file's shape errors (categoriesFromJSONText).
    void categoriesFile(const std::string& path, const FileSystemPort& files);
    // Categories given as values (the tool's JSON, already shaped).
    void categories(std::vector<TimesheetCategory> categories);
    // "json", "csv" or "html" (the time view with the answer in it). Throws
    // "--format must be json, csv or html, not '<text>'.".
    void format(const std::string& text);

    // The timesheet: today unless a period was given. Throws the period's
    // errors (SummaryCommandBuilder::build), the categories' errors
    // (checkCategories),
    // and "--max-chars does not apply to --format csv ..." for both.
    Command::Timesheet build() const;

private:
    SummaryCommandBuilder period_;
    std::vector<TimesheetCategory> categories_;
    bool categoryGiven_ = false;
    bool categoriesFileGiven_ = false;
    AnswerFormat format_ = AnswerFormat::json;
};

}  // namespace VarnholtQueryLib
