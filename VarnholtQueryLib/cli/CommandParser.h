#pragma once

#include "cli/Command.h"
#include "cli/CommandArguments.h"

namespace VarnholtQueryLib {

class FileSystemPort;
class LocalCalendar;

// Turns the pre-processed command line into exactly one Command. It checks
// only what each command needs; flags a command does not use are ignored,
// except inside `search`, which refuses unknown flags. Search's time
// arguments become instants here (in `calendar`, relative to `now`); the
// timeline family's travel as text and are converted at dispatch.
//
// `timesheet --categories FILE` reads its file here, through `files`, so
// that a bad file is refused before anything else is done.
//
// Throws CLIError (invalidTimeRange or unknownError) with the message the
// user sees. An unknown flag after `search` writes its error envelope and
// exits the process with status 1 at once.
Command parseCommand(const CommandArguments& arguments, const LocalCalendar& calendar, double now,
                     const FileSystemPort& files);

}  // namespace VarnholtQueryLib
