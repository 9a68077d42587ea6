# fish completion for varnholt-query: commands, the flags each command reads,
# the usual durations for --since and the entity kinds seen in practice for
# --kind.

set -l commands today yesterday this-week last-active-day recent range search entities summary timesheet support-context status top help version

complete -c varnholt-query -f

complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a today -d "Activity from today (default)"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a yesterday -d "Activity from yesterday"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a this-week -d "Activity from this week"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a last-active-day -d "Most recent day with activity"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a recent -d "Moments of the last --since duration"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a range -d "Moments from --from to --to"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a search -d "Full-text search of the descriptions"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a entities -d "Entity counts with first and last sighting"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a summary -d "Active time per app, session and day"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a timesheet -d "Time per category, each second once"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a support-context -d "Recent descriptions and status for a support request"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a status -d "Health check and database stats"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a top -d "Live pipeline monitor"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a help -d "Show the help text"
complete -c varnholt-query -n "not __fish_seen_subcommand_from $commands" -a version -d "Show the version"

# Which commands read which flag; no command at all means today.
set -l timeline_commands today yesterday this-week last-active-day
set -l no_command "not __fish_seen_subcommand_from $commands"
# summary and timesheet take a timeline preset as their period, but not the
# timeline's flags.
set -l not_summary "not __fish_seen_subcommand_from summary timesheet"
complete -c varnholt-query -n "$no_command; or __fish_seen_subcommand_from $timeline_commands recent range; and $not_summary" -l compact -d "Omit descriptions"
complete -c varnholt-query -n "$no_command; or __fish_seen_subcommand_from $timeline_commands recent range; and $not_summary" -l full -d "Include descriptions"
complete -c varnholt-query -n "$no_command; or __fish_seen_subcommand_from $timeline_commands recent range search entities summary; and not __fish_seen_subcommand_from timesheet" -l limit -x -d "Limit results shown"
complete -c varnholt-query -n "$no_command; or __fish_seen_subcommand_from $timeline_commands recent range entities summary status support-context top" -l json -d "JSON output"
set -l summary_periods today yesterday this-week last-week this-month last-month last-active-day
complete -c varnholt-query -n "__fish_seen_subcommand_from summary timesheet; and not __fish_seen_subcommand_from $summary_periods" -a "$summary_periods" -d "Period"
complete -c varnholt-query -n "__fish_seen_subcommand_from summary timesheet" -l idle -x -a "1m 2m 5m 10m 15m 30m 1h" -d "Idle gap that ends a session"
complete -c varnholt-query -n "__fish_seen_subcommand_from summary timesheet" -l max-chars -x -d "Longest answer in characters"
complete -c varnholt-query -n "__fish_seen_subcommand_from summary" -l match -x -d "Only observations holding these words"
complete -c varnholt-query -n "__fish_seen_subcommand_from summary" -l entity -x -d "Only observations naming [kind=]value"
complete -c varnholt-query -n "__fish_seen_subcommand_from this-week summary timesheet" -l week-start -x -a "monday tuesday wednesday thursday friday saturday sunday" -d "First day of the week"
complete -c varnholt-query -n "__fish_seen_subcommand_from summary" -l only -x -a "sessions applications entities days coverage" -d "Only these sections"
complete -c varnholt-query -n "__fish_seen_subcommand_from timesheet" -l json -d "JSON output"
complete -c varnholt-query -n "__fish_seen_subcommand_from timesheet" -l category -x -d "Category NAME=RULE[|RULE...]"
complete -c varnholt-query -n "__fish_seen_subcommand_from timesheet" -l categories -r -F -d "Categories as a JSON file"
complete -c varnholt-query -n "__fish_seen_subcommand_from timesheet" -l format -x -a "json csv html" -d "JSON, CSV, or a page for a browser"
complete -c varnholt-query -n "__fish_seen_subcommand_from summary; and not __fish_seen_subcommand_from timesheet" -l format -x -a "json html" -d "JSON, or a page for a browser"
complete -c varnholt-query -n "__fish_seen_subcommand_from search" -l compact -d "Omit descriptions"
complete -c varnholt-query -n "__fish_seen_subcommand_from search" -l full -d "Include descriptions"
complete -c varnholt-query -n "__fish_seen_subcommand_from recent search entities summary timesheet" -l since -x -a "30m 1h 2h 4h 1d 2d 1w" -d "Time window"
complete -c varnholt-query -n "__fish_seen_subcommand_from recent search" -l images -d "Include image_path"
complete -c varnholt-query -n "__fish_seen_subcommand_from range search summary timesheet" -l from -x -d "Start: ISO 8601 or yyyy-MM-dd"
complete -c varnholt-query -n "__fish_seen_subcommand_from range search summary timesheet" -l to -x -d "End: ISO 8601 or yyyy-MM-dd"
complete -c varnholt-query -n "__fish_seen_subcommand_from search summary" -l app -x -d "Only this application"
complete -c varnholt-query -n "__fish_seen_subcommand_from search" -l latest -d "Newest match only"
complete -c varnholt-query -n "__fish_seen_subcommand_from search" -l collapse -d "Deduplicate by description"
complete -c varnholt-query -n "__fish_seen_subcommand_from search" -l all-words -d "Every word and phrase must occur"
complete -c varnholt-query -n "__fish_seen_subcommand_from entities summary" -l kind -x -a "app person company project website programming_language software_tool framework" -d "Entity kind"
complete -c varnholt-query -s h -l help -d "Show help"
complete -c varnholt-query -s v -l version -d "Show version"
