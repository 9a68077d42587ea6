# Homebrew formula for varnholt-query and varnholt-mcp, built with Apple's
# Clang and libc++ against Homebrew's ICU and SQLite (both keg-only, so their
# prefixes are handed to configure).
#
# The release tarball is the tree of a release tag (git archive
# --prefix=varnholt-query-VERSION/ vVERSION | gzip); its address and checksum
# are set here when the release is published, and the version must be the one
# in VarnholtQueryLib/cli/BuildMetadata.h, which the tests compare.
class VarnholtQuery < Formula
  desc "Answers agents' questions about your recent work from a screen recorder's database"
  homepage "https://varnholt-query.example.org/"
  url "https://varnholt-query.example.org/releases/varnholt-query-0.6.6-beta.tar.gz"
  version "0.6.6-beta"
  sha256 "0000000000000000000000000000000000000000000000000000000000000000"

  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on "nlohmann-json" => :build
  depends_on "icu4c"
  # Homebrew's SQLite rather than the system's: the one configure is pointed at.
  depends_on "sqlite"

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja",
           "-DVARNHOLT_BUILD_TESTS=OFF",
           "-DICU_ROOT=#{Formula["icu4c"].opt_prefix}",
           "-DSQLite3_ROOT=#{Formula["sqlite"].opt_prefix}",
           *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  # The programs read only the recorder's database below the account's home
  # directory, as the password database names it, and Homebrew runs this as
  # the real user: a test must neither read that database nor write one
  # there. So it asks what needs no database: the version, and the MCP
  # server's handshake and tool list.
  test do
    assert_match "varnholt-query #{version}", shell_output("#{bin}/varnholt-query --version")

    requests = [
      { jsonrpc: "2.0", id: 1, method: "initialize",
        params: { protocolVersion: "2025-06-18", capabilities: {},
                  clientInfo: { name: "homebrew-test", version: "1" } } },
      { jsonrpc: "2.0", method: "notifications/initialized" },
      { jsonrpc: "2.0", id: 2, method: "tools/list" },
    ]
    output = pipe_output(bin/"varnholt-mcp", requests.map { |request| JSON.generate(request) }.join("\n") + "\n", 0)
    answers = output.lines.map { |line| JSON.parse(line) }
    assert_equal "varnholt-mcp", answers.first["result"]["serverInfo"]["name"]
    tools = answers.last["result"]["tools"].map { |tool| tool["name"] }
    %w[timeline search entities status support_context].each { |tool| assert_includes tools, tool }
  end
end
