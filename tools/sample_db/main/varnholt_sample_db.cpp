// varnholt-sample-db: writes a recorder database full of synthetic screen
// activity, for trying out and measuring varnholt-query without a recorder.
// It never overwrites anything.

#include <sys/stat.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "SampleDatabase.h"
#include "platform/LocalCalendar.h"
#include "platform/UserHomeDirectory.h"

namespace {

constexpr const char* kUsage =
    "Usage: varnholt-sample-db [--days N] [--seed S] [--end EPOCH_SECONDS] PATH\n"
    "       varnholt-sample-db --default-location [--days N] [--seed S] [--end EPOCH_SECONDS]\n"
    "\n"
    "Writes a recorder database with N days (default 14, at most 3660) of synthetic\n"
    "screen activity ending at EPOCH_SECONDS (default: now), generated from seed S\n"
    "(default 1). PATH must not exist. --default-location writes ~/.varnholt/varnholt.db\n"
    "(home from the password database) unless that file exists already.\n";

constexpr const char* kProgram = "varnholt-sample-db: ";

struct Arguments {
    int days = 14;
    std::uint64_t seed = 1;
    std::optional<double> end;
    bool defaultLocation = false;
    std::optional<std::string> path;
};

template <typename Number>
bool parseInteger(const std::string& text, Number& value) {
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    return error == std::errc() && end == last && !text.empty();
}

bool parseSeconds(const std::string& text, double& value) {
    if (text.empty()) return false;
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size() && std::isfinite(value) && value >= 0;
}

// Returns no value for arguments that do not form a command.
std::optional<Arguments> parseArguments(const std::vector<std::string>& words) {
    Arguments arguments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        const bool takesValue = word == "--days" || word == "--seed" || word == "--end";
        if (takesValue && i + 1 >= words.size()) return std::nullopt;
        if (word == "--days") {
            if (!parseInteger(words[++i], arguments.days) || arguments.days < 1 || arguments.days > 3660) {
                return std::nullopt;
            }
        } else if (word == "--seed") {
            if (!parseInteger(words[++i], arguments.seed)) return std::nullopt;
        } else if (word == "--end") {
            double end = 0;
            if (!parseSeconds(words[++i], end)) return std::nullopt;
            arguments.end = end;
        } else if (word == "--default-location") {
            arguments.defaultLocation = true;
        } else if (word.empty() || word[0] == '-' || arguments.path) {
            return std::nullopt;
        } else {
            arguments.path = word;
        }
    }
    if (arguments.defaultLocation == arguments.path.has_value()) return std::nullopt;
    return arguments;
}

std::string describeDays(int days) {
    return std::to_string(days) + (days == 1 ? " day" : " days");
}

int run(const Arguments& arguments) {
    const std::string home = VarnholtQueryLib::userHomeDirectory();
    if (home.empty()) {
        std::cerr << kProgram
                  << "Cannot find the home directory of the current user in the password database\n";
        return 1;
    }
    VarnholtSampleData::SampleDatabaseOptions options;
    options.days = arguments.days;
    options.seed = arguments.seed;
    options.endTime = arguments.end.value_or(
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
    options.homeForImagePaths = home;
    // The user's offset from UTC at the end, in the zone varnholt-query will
    // read the activity in, so that working hours fall into the user's day.
    options.utcOffsetSeconds = VarnholtQueryLib::LocalCalendar::current().utcOffsetSeconds(options.endTime);

    std::string path;
    if (arguments.defaultLocation) {
        const std::string directory = home + "/.varnholt";
        path = directory + "/varnholt.db";
        std::error_code error;
        std::filesystem::create_directories(directory, error);
        if (error) {
            std::cerr << kProgram << "Cannot create " << directory << ": " << error.message() << "\n";
            return 1;
        }
        struct stat info {};
        if (lstat(path.c_str(), &info) == 0) {
            std::cerr << "Recorder database exists at " << path << "; left untouched\n";
            return 0;
        }
    } else {
        path = *arguments.path;
    }

    try {
        VarnholtSampleData::writeSampleDatabase(path, options);
    } catch (const VarnholtSampleData::ExistingFileError& existing) {
        struct stat info {};
        if (arguments.defaultLocation && lstat(path.c_str(), &info) == 0) {
            // Someone else created it while we generated ours.
            std::cerr << "Recorder database exists at " << path << "; left untouched\n";
            return 0;
        }
        std::cerr << kProgram << existing.what() << "\n";
        return 1;
    } catch (const std::exception& failure) {
        std::cerr << kProgram << failure.what() << "\n";
        return 1;
    }
    std::cerr << "Created a sample recorder database with " << describeDays(options.days)
              << " of activity at " << path << "\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 1 && (words[0] == "--help" || words[0] == "-h")) {
        std::cerr << kUsage;
        return 0;
    }
    const std::optional<Arguments> arguments = parseArguments(words);
    if (!arguments) {
        std::cerr << kUsage;
        return 2;
    }
    return run(*arguments);
}
