#include "mcp/ToolCommands.h"

#include <stdexcept>

#include "cli/CLIError.h"
#include "cli/CommandBuilders.h"
#include "cli/TimesheetCommandBuilder.h"

namespace VarnholtQueryLib::MCP {

namespace {

Command timelineCommand(const ToolArguments& arguments) {
    const auto preset = arguments.text("preset");
    const auto since = arguments.text("since");
    const auto from = arguments.text("from");
    const auto to = arguments.text("to");
    const bool compact = arguments.flag("compact");
    const auto limit = arguments.integer("limit");
    // The command line chooses one command by its first word; a call that
    // names two periods has no such word, and guessing would answer the wrong
    // question.
    const int periods = int(preset.has_value()) + int(since.has_value()) +
                        int(from.has_value() || to.has_value());
    if (periods > 1) {
        throw CLIError::invalidTimeRange("Use only one of preset, since, or from and to.");
    }
    Command::Recent timeline = since           ? timelineSinceCommand(*since, arguments.flag("images"), compact, limit)
                               : (from || to) ? timelineRangeCommand(from, to, compact, limit)
                                              : timelinePresetCommand(preset.value_or("today"), compact, limit);
    if (const auto weekStart = arguments.text("week_start")) timelineWeekStart(timeline, *weekStart);
    return {timeline};
}

Command searchCommand(const ToolArguments& arguments, const LocalCalendar& calendar, double now) {
    SearchCommandBuilder search(calendar, now);
    if (const auto keyword = arguments.text("keyword")) search.keyword(*keyword);
    if (const auto app = arguments.text("app")) search.app(*app);
    if (const auto since = arguments.text("since")) search.since(*since);
    if (const auto from = arguments.text("from")) search.from(*from);
    if (const auto to = arguments.text("to")) search.to(*to);
    if (arguments.flag("latest")) search.latest();
    search.limit(arguments.integer("limit"));
    if (arguments.flag("collapse")) search.collapse();
    if (arguments.flag("all_words")) search.allWords();
    if (arguments.flag("images")) search.images();
    search.compact(arguments.flag("compact"));
    return {search.build()};
}

Command summaryCommand(const ToolArguments& arguments) {
    SummaryCommandBuilder summary;
    if (const auto preset = arguments.text("preset")) summary.preset(*preset);
    if (const auto since = arguments.text("since")) summary.since(*since);
    if (const auto from = arguments.text("from")) summary.from(*from);
    if (const auto to = arguments.text("to")) summary.to(*to);
    if (const auto idle = arguments.text("idle")) summary.idle(*idle);
    if (const auto kind = arguments.text("kind")) summary.kind(*kind);
    if (const auto limit = arguments.integer("limit")) summary.limit(*limit);
    for (const std::string& words : arguments.texts("match").value_or(std::vector<std::string>{})) {
        summary.match(words);
    }
    for (const std::string& name : arguments.texts("app").value_or(std::vector<std::string>{})) summary.app(name);
    for (const std::string& entity : arguments.texts("entity").value_or(std::vector<std::string>{})) {
        summary.entity(entity);
    }
    if (const auto weekStart = arguments.text("week_start")) summary.weekStart(*weekStart);
    if (const auto only = arguments.texts("only")) summary.only(*only);
    // A host cuts or files away a long answer; the budget keeps it whole.
    summary.maxChars(arguments.integer("max_chars").value_or(kSummaryDefaultMaxChars));
    return {summary.build()};
}

// The categories come as JSON, shaped as a categories file is; a shape
// error is refused in the file's words, naming the argument.
Command timesheetCommand(const ToolArguments& arguments) {
    TimesheetCommandBuilder timesheet;
    if (const auto preset = arguments.text("preset")) timesheet.preset(*preset);
    if (const auto since = arguments.text("since")) timesheet.since(*since);
    if (const auto from = arguments.text("from")) timesheet.from(*from);
    if (const auto to = arguments.text("to")) timesheet.to(*to);
    if (const auto weekStart = arguments.text("week_start")) timesheet.weekStart(*weekStart);
    if (const auto idle = arguments.text("idle")) timesheet.idle(*idle);
    if (const JSON* categories = arguments.value("categories")) {
        try {
            timesheet.categories(categoriesFromJSON(*categories, "Argument 'categories'"));
        } catch (const InvalidCategories& invalid) {
            throw CLIError::invalidTimeRange(invalid.what());
        }
    }
    timesheet.maxChars(arguments.integer("max_chars").value_or(kSummaryDefaultMaxChars));
    return {timesheet.build()};
}

}  // namespace

Command commandForTool(const std::string& tool, const ToolArguments& arguments,
                       const LocalCalendar& calendar, double now) {
    if (tool == "timeline") return timelineCommand(arguments);
    if (tool == "search") return searchCommand(arguments, calendar, now);
    if (tool == "entities") {
        return {entitiesCommand(arguments.text("since"), arguments.text("kind"),
                                arguments.integer("limit"))};
    }
    if (tool == "summary") return summaryCommand(arguments);
    if (tool == "timesheet") return timesheetCommand(arguments);
    if (tool == "status") return {Command::Status{true}};
    if (tool == "support_context") return {Command::SupportContext{}};
    throw std::logic_error("No command for tool " + tool);
}

}  // namespace VarnholtQueryLib::MCP
