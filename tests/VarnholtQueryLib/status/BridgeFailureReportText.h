#pragma once

namespace VarnholtQueryLib {

// A report of a failed analysis bridge as the recorder writes it, with all
// six keys.
inline constexpr const char* kAllSixKeys =
    R"({"timestamp":"2026-04-01T09:58:12Z","pythonPath":"/usr/bin/python3",)"
    R"("bridgePath":"/opt/bridge/server.py","modelId":"qwen2-vl-2b",)"
    R"("socketPath":"/tmp/bridge.sock","reason":"Model failed to load: out of memory"})";

}  // namespace VarnholtQueryLib
