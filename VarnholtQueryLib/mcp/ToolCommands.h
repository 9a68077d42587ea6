#pragma once

#include <cstdint>
#include <string>

#include "cli/Command.h"
#include "mcp/ToolArguments.h"

namespace VarnholtQueryLib {
class LocalCalendar;
}

namespace VarnholtQueryLib::MCP {

// The budget of a summary called without max_chars: what hosts show a model
// without cutting it (the lowest common cap is 25,000 tokens, some warn at
// 10,000; 24,000 characters are 6,000 to 8,000 tokens of JSON).
inline constexpr std::int64_t kSummaryDefaultMaxChars = 24000;

// The command a tool call stands for: the one varnholt-query builds for the
// equivalent command line, so both front ends answer it with the same
// document. The equivalents, with arguments applied in this order:
//
//   timeline {preset: P}           varnholt-query P
//   timeline {since: S}            varnholt-query recent --since S [--images]
//   timeline {from: F, to: T}      varnholt-query range --from F --to T
//   timeline {}                    varnholt-query today
//     and [--limit N] [--compact] with each of them
//   search {keyword: K, ...}       varnholt-query search K [--app A] [--since S]
//                                    [--from F] [--to T] [--latest] [--limit N]
//                                    [--collapse] [--all-words] [--images] [--compact]
//   entities {...}                 varnholt-query entities [--since S] [--kind K] [--limit N]
//   summary {...}                  varnholt-query summary [P] [--since S] [--from F --to T]
//                                    [--idle I] [--kind K] [--limit N]
//                                    --max-chars (max_chars, default 24000)
//   status {}                      varnholt-query status --json
//   support_context {}             varnholt-query support-context
//
// As on the command line, `images` applies to `since` only, and a search's
// from and to override the ends that its since sets.
//
// REQUIRES: `tool` names a tool of the catalog and `arguments` were checked
// against its input schema. Throws CLIError with the command line's message
// for what the command line refuses (a missing keyword, a bad duration or
// date, an unknown preset, half a range, a summary's value out of range), and
// invalidTimeRange "Use only one of preset, since, or from and to." for a
// timeline asked two ways at once (a summary says so as on the command
// line).
// `now` anchors the search's since, as on the command line.
Command commandForTool(const std::string& tool, const ToolArguments& arguments,
                       const LocalCalendar& calendar, double now);

}  // namespace VarnholtQueryLib::MCP
