#include "ActivityCatalog.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace VarnholtSampleData {

namespace {

using Words = std::vector<std::string>;

// A code base the user works on, with what belongs to it.
struct Project {
    std::string name;
    std::string language;
    std::string framework;
    std::string service;
    Words editors;
};

const std::vector<Project>& projects() {
    static const std::vector<Project> kProjects = {
        {"billing service", "TypeScript", "Express", "billing-api", {"VS Code", "Cursor", "WebStorm"}},
        {"iOS app", "Swift", "SwiftUI", "sync-gateway", {"Xcode"}},
        {"data pipeline", "Python", "Airflow", "ingest-worker", {"PyCharm", "VS Code"}},
        {"web dashboard", "TypeScript", "React", "dashboard-web", {"VS Code", "Cursor"}},
        {"search backend", "Rust", "Tokio", "search-indexer", {"VS Code", "RustRover"}},
        {"Android client", "Kotlin", "Jetpack Compose", "push-notifier", {"Android Studio"}},
        {"reporting module", "SQL", "dbt", "warehouse-loader", {"DataGrip", "VS Code"}},
        {"release tooling", "C++", "CMake", "release-builder", {"CLion", "VS Code"}},
    };
    return kProjects;
}

// How one kind of activity looks on screen and how long its runs last.
struct Activity {
    std::string activityType;
    Words templates;
    Words primaryApps;  // "{editor}" stands for the project's editor
    Words topics;
    double meanRunFrames;
    int weight;  // relative frequency among tasks
};

const std::vector<Activity>& activities() {
    static const std::vector<Activity> kActivities = {
        {"coding",
         {"Fixing a type error in the {component} after a failed API integration test",
          "Fixing a type error in the {component} of the {project} after a failed integration test",
          "Refactoring the {component} of the {project} to use async/await instead of callbacks",
          "Writing unit tests for the {component} in {language} with {framework} test fixtures",
          "Debugging a crash in the {component} with breakpoints set in {app}",
          "Implementing pagination for the {component} behind a feature flag in the {project}",
          "Reading {language} compiler errors about generics in the {component} build output",
          "Renaming fields in the {component} and updating the call sites across the {project} repository",
          "Adding input validation to the {component} so that empty values return a clear error message",
          "Editing the {language} code of the {component} in {app} next to a failing test",
          "Stepping through the {component} in the debugger to find why the cache returns stale entries",
          "Writing a migration for the {component} that adds an index to the events table"},
         {"{editor}"},
         {"debugging", "testing", "refactoring", "api", "performance"},
         4.0,
         9},
        {"code_review",
         {"Reviewing a pull request on GitHub that changes the {component} of the {project}",
          "Leaving review comments about error handling in the {component} on a GitHub pull request",
          "Comparing two versions of the {component} in a side-by-side diff before approving the change",
          "Reading the CI results of a pull request for the {project} where the {language} linter failed"},
         {"Google Chrome", "Safari", "Arc"},
         {"code review", "ci", "git"},
         6.0,
         3},
        {"terminal",
         {"Running the {project} test suite in the terminal and watching {count} tests pass",
          "Rebasing the {branch} branch onto main and resolving a merge conflict in the {component}",
          "Building the {project} with {tool} in the terminal after updating its dependencies",
          "Inspecting the {service} container logs with docker compose logs in {app}",
          "Running a database migration for the {service} against the local Postgres instance"},
         {"Terminal", "iTerm2", "Warp"},
         {"build", "git", "testing", "docker"},
         3.0,
         3},
        {"research",
         {"Reading the {framework} documentation about {topic} in {app}",
          "Searching Stack Overflow for a {language} error about {topic} in {app}",
          "Watching a conference talk about {topic} on YouTube in {app}",
          "Comparing the pricing plans of {company} for the {project} on their website",
          "Reading a blog post about {topic} in {language} and copying an example into a scratch file"},
         {"Google Chrome", "Safari", "Firefox", "Arc"},
         {"documentation", "learning", "research"},
         7.0,
         4},
        {"communication",
         {"Replying to a Slack thread in #{channel} about the release schedule of the {project}",
          "Writing an e-mail to {person} about the deadline for the {component} of the {project}",
          "Reading an e-mail from {email} about an invoice for the {project}",
          "Answering a direct message from {person} about the failing build of the {project}",
          "Forwarding the meeting notes about the {component} to {email} with a short summary"},
         {"Slack", "Mail", "Microsoft Outlook"},
         {"email", "chat", "coordination"},
         5.0,
         4},
        {"meeting",
         {"Attending a video call in {app} with the {team} team about the roadmap of the {project}",
          "Sharing the screen in {app} to demo the {component} to the {team} team",
          "Taking notes during the {team} stand-up meeting in {app} about blocked tickets",
          "Listening to a planning meeting of the {team} team in {app} about next quarter's goals"},
         {"Zoom", "Microsoft Teams", "Google Meet"},
         {"meeting", "planning", "roadmap"},
         25.0,
         2},
        {"planning",
         {"Updating the status of {ticket} in Jira and moving it to code review",
          "Writing acceptance criteria for the {component} ticket of the {project} in Linear",
          "Drafting the release notes of the {project} in Notion with a list of fixed bugs",
          "Estimating the tickets for the {component} with story points in the sprint backlog"},
         {"Jira", "Linear", "Notion"},
         {"planning", "project management"},
         6.0,
         2},
        {"design",
         {"Adjusting the spacing of the {screen} mockup in Figma before handing it to development",
          "Exporting icons for the {screen} from Figma as SVG files for the {project}",
          "Comparing the {screen} in the {project} with the Figma design and noting differences"},
         {"Figma"},
         {"design", "ui"},
         8.0,
         1},
        {"operations",
         {"Checking the {service} dashboards in Datadog after a spike in 500 errors",
          "Editing the Dockerfile of the {service} service to pin the base image version",
          "Reading the Kubernetes events of the {service} deployment after a failed rollout",
          "Scaling the {service} workers in the AWS console after a queue backlog alert"},
         {"Google Chrome", "Terminal", "Docker Desktop"},
         {"operations", "monitoring", "deployment"},
         5.0,
         2},
    };
    return kActivities;
}

// Rare descriptions with personal data or credentials on screen: what the
// redaction of descriptions exists for.
const Words& sensitiveTemplates() {
    static const Words kTemplates = {
        "Copying the api_key={hex40} from the {service} dashboard into a local .env file",
        "Pasting a bearer token {base64} into the Authorization header of a Postman request",
        "Typing password: {password} into the staging login form of the {project}",
        "Reading a deploy log of the {service} service that prints the session token {hex32}",
        "Sending the staging credentials to {email} in a direct message about the {project}",
    };
    return kTemplates;
}

const Words kComponents = {"fetch handler", "login form", "invoice exporter", "date parser", "image cache",
                           "search index", "settings screen", "payment webhook", "CSV importer",
                           "notification service", "GraphQL resolver", "onboarding flow", "rate limiter",
                           "session store", "upload queue", "feature flag client", "PDF renderer",
                           "retry middleware"};
const Words kBackgroundApps = {"Google Chrome", "Safari", "Slack", "Finder", "Terminal", "Spotify", "Mail",
                               "Calendar", "Notes", "1Password", "Messages", "Preview", "Activity Monitor",
                               "Docker Desktop", "Postman", "TablePlus", "Notion", "Figma", "Zoom",
                               "Microsoft Teams", "Xcode", "VS Code", "iTerm2", "Obsidian"};
const Words kTopics = {"FTS5 tokenizers", "async iterators", "connection pooling", "memory leaks",
                       "OAuth refresh tokens", "structured concurrency", "query planning",
                       "accessibility labels", "incremental builds", "WebSocket reconnects"};
const Words kPeople = {"Anna", "Jonas", "Priya", "Marco", "Lea", "Tom", "Sofia", "Kenji"};
const Words kEmails = {"anna.schmidt@example.com", "billing@acme-corp.example", "j.weber@example.org",
                       "priya.k@contoso.example", "support@vendor.example.net"};
const Words kTeams = {"platform", "mobile", "growth", "data", "design", "infrastructure"};
const Words kChannels = {"dev", "releases", "incidents", "mobile-team", "random", "backend"};
const Words kScreens = {"checkout screen", "account settings page", "empty state", "sign-up dialog",
                        "dashboard header"};
const Words kBranches = {"feature/pagination", "fix/login-timeout", "chore/deps-update", "release/2.4"};
const Words kTools = {"npm", "cargo", "Gradle", "CMake", "pip", "Make", "Bazel"};
const Words kCompanies = {"Stripe", "Apple", "Google", "Acme Corp", "acme", "Microsoft", "Atlassian",
                          "Datadog", "GitHub"};
const Words kWebsites = {"github.com", "GitHub", "stackoverflow.com", "localhost:3000", "docs.rs",
                         "developer.apple.com", "developer.mozilla.org", "youtube.com"};
const Words kSoftwareTools = {"Git", "git", "Docker", "docker compose", "npm", "Homebrew", "curl", "lldb",
                              "Postman", "Jira", "webpack", "Xcode", "kubectl", "psql"};
const Words kOcrWords = {"File", "Edit", "View", "Run", "Terminal", "Help", "main", "origin", "src", "tests",
                         "import", "return", "const", "func", "let", "error", "warning", "build",
                         "succeeded", "failed", "Inbox", "Reply", "Search", "Settings", "Share", "Mute",
                         "Participants", "PR", "#1432", "Approve", "Changes", "Files", "Commits"};

std::string lowerCase(std::string text) {
    for (auto& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string upperCase(std::string text) {
    for (auto& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// Extracted values are noisy: other casing, or a fragment of the name.
std::string noisy(const std::string& value, SampleRandom& random) {
    const double roll = random.uniform();
    if (roll < 0.15) return lowerCase(value);
    if (roll < 0.19 && value.size() > 4) {
        return value.substr(0, static_cast<std::size_t>(random.integer(2, 4)));
    }
    if (roll < 0.21) return upperCase(value);
    return value;
}

std::string base64Like(SampleRandom& random, int length) {
    static const std::string kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (int i = 0; i < length; ++i) {
        text.push_back(kAlphabet[static_cast<std::size_t>(random.integer(0, 63))]);
    }
    return text + "==";
}

std::string fill(const std::string& pattern, const WorkTask& task, SampleRandom& random) {
    const Project& project = projects()[static_cast<std::size_t>(task.project)];
    std::string text;
    std::size_t position = 0;
    while (position < pattern.size()) {
        const std::size_t open = pattern.find('{', position);
        if (open == std::string::npos) {
            text.append(pattern, position, std::string::npos);
            break;
        }
        text.append(pattern, position, open - position);
        const std::size_t close = pattern.find('}', open);
        const std::string name = pattern.substr(open + 1, close - open - 1);
        if (name == "component") text += task.component;
        else if (name == "project") text += project.name;
        else if (name == "language") text += project.language;
        else if (name == "framework") text += project.framework;
        else if (name == "service") text += project.service;
        else if (name == "app") text += task.apps.front();
        else if (name == "tool") text += random.pick(kTools);
        else if (name == "topic") text += random.pick(kTopics);
        else if (name == "person") text += random.pick(kPeople);
        else if (name == "email") text += random.pick(kEmails);
        else if (name == "team") text += random.pick(kTeams);
        else if (name == "channel") text += random.pick(kChannels);
        else if (name == "screen") text += random.pick(kScreens);
        else if (name == "branch") text += random.pick(kBranches);
        else if (name == "company") text += random.pick(kCompanies);
        else if (name == "count") text += std::to_string(random.integer(40, 1800));
        else if (name == "ticket") text += "PLAT-" + std::to_string(random.integer(100, 2999));
        else if (name == "hex32") text += random.hex(32);
        else if (name == "hex40") text += random.hex(40);
        else if (name == "base64") text += base64Like(random, random.integer(40, 64));
        else if (name == "password") text += "Winter" + std::to_string(random.integer(2019, 2026)) + "!";
        position = close + 1;
    }
    return text;
}

std::string jsonArray(const Words& items) {
    std::string text = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) text += ',';
        text += jsonString(items[i]);
    }
    return text + "]";
}

// The applications visible in one run: usually the task's own, sometimes
// reordered, sometimes none recognised, sometimes the same application twice
// in different spellings, and rarely a crowded screen with more than ten.
Words runApps(const WorkTask& task, SampleRandom& random) {
    const double roll = random.uniform();
    if (roll < 0.02) return {};
    if (roll < 0.035) {
        Words crowded = task.apps;
        const int wanted = random.integer(11, 14);
        while (static_cast<int>(crowded.size()) < wanted) {
            const std::string& app = random.pick(kBackgroundApps);
            if (std::find(crowded.begin(), crowded.end(), app) == crowded.end()) crowded.push_back(app);
        }
        return crowded;
    }
    Words apps = task.apps;
    if (apps.size() > 2 && random.chance(0.25)) std::swap(apps[1], apps[2]);
    if (random.chance(0.05)) {
        const std::string twin = random.pick(apps);
        apps.push_back(random.chance(0.7) ? lowerCase(twin) : upperCase(twin));
    }
    return apps;
}

std::vector<SampleEntity> runEntities(const WorkTask& task, const Words& apps, SampleRandom& random) {
    const Project& project = projects()[static_cast<std::size_t>(task.project)];
    std::vector<std::pair<std::string, std::string>> pool;
    for (const auto& app : apps) pool.emplace_back("app", noisy(app, random));
    if (apps.empty()) pool.emplace_back("app", noisy(task.apps.front(), random));
    pool.emplace_back("programming_language", noisy(project.language, random));
    pool.emplace_back("framework", noisy(project.framework, random));
    pool.emplace_back("software_tool", noisy(random.pick(kSoftwareTools), random));
    pool.emplace_back("software_tool", noisy(random.pick(kSoftwareTools), random));
    pool.emplace_back("website", noisy(random.pick(kWebsites), random));
    pool.emplace_back("company", noisy(random.pick(kCompanies), random));

    const int wanted = random.integer(2, 5);
    std::vector<SampleEntity> entities;
    for (int attempt = 0; attempt < 40 && static_cast<int>(entities.size()) < wanted; ++attempt) {
        const auto& candidate = random.pick(pool);
        const bool seen = std::any_of(entities.begin(), entities.end(), [&](const SampleEntity& entity) {
            return entity.kind == candidate.first && entity.value == candidate.second;
        });
        if (seen) continue;
        const double confidence = std::round(random.between(0.35, 0.99) * 1000.0) / 1000.0;
        entities.push_back({candidate.first, candidate.second, confidence});
    }
    return entities;
}

std::string ocrText(SampleRandom& random) {
    std::string text;
    const int words = random.integer(12, 40);
    for (int i = 0; i < words; ++i) {
        if (i > 0) text += (random.chance(0.15) ? '\n' : ' ');
        text += random.pick(kOcrWords);
    }
    return text;
}

int runLength(double meanFrames, SampleRandom& random) {
    // Geometric-like: mostly short runs, now and then a long one.
    const double length = 1.0 - std::log(1.0 - random.uniform()) * (meanFrames - 1.0);
    return std::clamp(static_cast<int>(length), 1, 240);
}

DescriptionRun describe(const WorkTask& task, const Activity& activity, const Words& templates,
                        SampleRandom& random) {
    DescriptionRun run;
    for (int attempt = 0; attempt < 20; ++attempt) {
        run.description = fill(random.pick(templates), task, random);
        if (run.description.size() >= 60 && run.description.size() <= 200) break;
    }
    if (run.description.size() < 60) run.description += " while " + task.apps.front() + " stays open";
    if (run.description.size() > 200) run.description.resize(200);
    run.activityType = activity.activityType;
    const Words apps = runApps(task, random);
    run.appsJson = jsonArray(apps);
    Words topics = {random.pick(activity.topics)};
    if (random.chance(0.5)) {
        const std::string& second = random.pick(activity.topics);
        if (second != topics.front()) topics.push_back(second);
    }
    run.topicsJson = jsonArray(topics);
    if (random.chance(0.3)) run.ocrText = ocrText(random);
    run.entities = runEntities(task, apps, random);
    run.frames = runLength(activity.meanRunFrames, random);
    run.rawResponse = "{\"description\":" + jsonString(run.description) + ",\"apps\":" + run.appsJson +
                      ",\"activity_type\":" + jsonString(run.activityType) + "}";
    return run;
}

}  // namespace

const std::vector<SampleDisplay>& sampleDisplays() {
    static const std::vector<SampleDisplay> kDisplays = {{"69734208", 3024, 1964}, {"722472837", 2560, 1440}};
    return kDisplays;
}

WorkTask startTask(SampleRandom& random, const WorkTask* previous) {
    const auto& catalogue = activities();
    int totalWeight = 0;
    for (const auto& activity : catalogue) totalWeight += activity.weight;
    WorkTask task;
    for (int attempt = 0; attempt < 5; ++attempt) {
        int roll = random.integer(0, totalWeight - 1);
        task.activity = 0;
        while (roll >= catalogue[static_cast<std::size_t>(task.activity)].weight) {
            roll -= catalogue[static_cast<std::size_t>(task.activity)].weight;
            ++task.activity;
        }
        if (previous == nullptr || previous->activity != task.activity) break;
    }
    // People stay on a project for a while: mostly keep the previous one.
    task.project = (previous != nullptr && random.chance(0.7))
                       ? previous->project
                       : random.integer(0, static_cast<int>(projects().size()) - 1);
    task.component = random.pick(kComponents);
    const Project& project = projects()[static_cast<std::size_t>(task.project)];
    const Activity& activity = catalogue[static_cast<std::size_t>(task.activity)];
    std::string primary = random.pick(activity.primaryApps);
    if (primary == "{editor}") primary = random.pick(project.editors);
    task.apps.push_back(primary);
    const int background = random.integer(1, 4);
    while (static_cast<int>(task.apps.size()) < 1 + background) {
        const std::string& app = random.pick(kBackgroundApps);
        if (std::find(task.apps.begin(), task.apps.end(), app) == task.apps.end()) task.apps.push_back(app);
    }
    task.display = random.chance(0.35) ? 1 : 0;
    return task;
}

DescriptionRun nextRun(const WorkTask& task, SampleRandom& random) {
    const Activity& activity = activities()[static_cast<std::size_t>(task.activity)];
    if (random.chance(0.004)) return describe(task, activity, sensitiveTemplates(), random);
    return describe(task, activity, activity.templates, random);
}

DescriptionRun importedRecordingRun(SampleRandom& random) {
    WorkTask task = startTask(random, nullptr);
    DescriptionRun run = nextRun(task, random);
    run.frames = 1;
    return run;
}

std::string jsonString(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        switch (c) {
            case '"': quoted += "\\\""; break;
            case '\\': quoted += "\\\\"; break;
            case '\n': quoted += "\\n"; break;
            case '\t': quoted += "\\t"; break;
            case '\r': quoted += "\\r"; break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    static const char kHex[] = "0123456789abcdef";
                    quoted += "\\u00";
                    quoted += kHex[(c >> 4) & 0xF];
                    quoted += kHex[c & 0xF];
                } else {
                    quoted += c;
                }
        }
    }
    return quoted + "\"";
}

}  // namespace VarnholtSampleData
