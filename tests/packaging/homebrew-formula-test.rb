# Loads the Homebrew formula with a stand-in for Homebrew's Formula class and
# runs its `test do` block against the programs just built, the way
# `brew test` would against the installed ones. Homebrew itself is not
# needed: the stand-in provides the few parts of its formula language that
# the formula uses, and refuses any other.
#
# Usage: ruby homebrew-formula-test.rb FORMULA RELEASE_VERSION VARNHOLT_QUERY VARNHOLT_MCP

require "json"
require "open3"
require "pathname"
require "tmpdir"

formula_path, release_version, query_program, mcp_program = ARGV
abort "usage: #{$PROGRAM_NAME} FORMULA RELEASE_VERSION VARNHOLT_QUERY VARNHOLT_MCP" if mcp_program.nil?

class FormulaCheckFailure < StandardError; end

class Formula
  DEFINED = []

  class << self
    attr_reader :formula_url, :formula_version, :formula_sha256, :test_block, :dependencies

    def desc(text) = @description = text
    def homepage(text) = @homepage = text
    def url(text) = @formula_url = text
    def version(text) = @formula_version = text
    def sha256(text) = @formula_sha256 = text
    def license(text) = @license = text

    def depends_on(dependency)
      (@dependencies ||= []) << dependency
    end

    def test(&block) = @test_block = block

    def inherited(subclass)
      super
      DEFINED << subclass
    end
  end

  attr_reader :bin

  def initialize(bin)
    @bin = Pathname(bin)
  end

  def version = self.class.formula_version

  def shell_output(command, expected_status = 0)
    output, status = Open3.capture2(command)
    check_status(command, status, expected_status)
    output
  end

  def pipe_output(command, input, expected_status = 0)
    output, status = Open3.capture2(command.to_s, stdin_data: input)
    check_status(command, status, expected_status)
    output
  end

  def assert_match(expected, actual)
    return if actual.match?(expected.is_a?(Regexp) ? expected : Regexp.new(Regexp.escape(expected)))

    raise FormulaCheckFailure, "expected #{actual.inspect} to contain #{expected.inspect}"
  end

  def assert_includes(collection, item)
    raise FormulaCheckFailure, "expected #{collection.inspect} to include #{item.inspect}" unless collection.include?(item)
  end

  def assert_equal(expected, actual)
    raise FormulaCheckFailure, "expected #{expected.inspect}, got #{actual.inspect}" unless expected == actual
  end

  private

  def check_status(command, status, expected_status)
    return if status.exitstatus == expected_status

    raise FormulaCheckFailure, "#{command} exited with #{status.exitstatus}, not #{expected_status}"
  end
end

failures = []
load formula_path
formula_class = Formula::DEFINED.last
failures << "the formula defines no class" if formula_class.nil?

if formula_class
  unless formula_class.formula_version == release_version
    failures << "the formula's version is #{formula_class.formula_version.inspect}, " \
                "the programs' is #{release_version.inspect}"
  end
  unless formula_class.formula_url.to_s.end_with?("/varnholt-query-#{release_version}.tar.gz")
    failures << "the formula's url #{formula_class.formula_url.inspect} is not the #{release_version} tarball"
  end
  failures << "the formula has no sha256" unless formula_class.formula_sha256.to_s.match?(/\A\h{64}\z/)
  failures << "the formula has no test" if formula_class.test_block.nil?

  if formula_class.test_block
    Dir.mktmpdir do |directory|
      bin = File.join(directory, "bin")
      Dir.mkdir(bin)
      File.symlink(File.expand_path(query_program), File.join(bin, "varnholt-query"))
      File.symlink(File.expand_path(mcp_program), File.join(bin, "varnholt-mcp"))
      begin
        formula_class.new(bin).instance_exec(&formula_class.test_block)
      rescue FormulaCheckFailure, JSON::ParserError, NoMethodError => e
        failures << "the formula's test fails: #{e.message}"
      end
    end
  end
end

failures.each { |failure| warn "FAIL: #{failure}" }
exit 1 unless failures.empty?
puts "the Homebrew formula loads, names this release and its test passes against the built programs"
