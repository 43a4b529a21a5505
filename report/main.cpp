#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <string_view>

#include "report/platform/platform.h"
#include "report/program.h"
#include "report/settings/settings.h"

namespace {

constexpr int kRefused = 1;     // facts or report.toml can't be used
constexpr int kNotWritten = 2;  // the page or its PDF can't be written

struct Options {
  report::Sources sources;
  std::filesystem::path output;
  bool example = false;
  bool pdf = false;
};

void add_options(CLI::App& app, Options& options) {
  app.set_version_flag("--version", "kvr-report " KVR_VERSION);
  auto* const tape =
      app.add_option("--tape", options.sources.tape, "the tape whose tests and records to report");
  auto* const store = app.add_option("--store", options.sources.store, "the record store to report")
                          ->excludes(tape);
  app.add_option("--runs", options.sources.runs, "the folder of run files to report")
      ->excludes(tape)
      ->excludes(store);
  app.add_option("--record", options.sources.records,
                 "only the record of this ID; can be given more than once");
  app.add_option("--with", options.sources.settings,
                 "report.toml: customer, nameplate, limits, uncertainty ...");
  app.add_option_function<std::vector<std::string>>(
         "--compare",
         [&sources = options.sources](const std::vector<std::string>& words) {
           const std::string other = words.empty() ? "" : words.front();
           sources.compare = other;
           sources.compares_phases = other.empty();
         },
         "another tape, store or folder of run files, to compare with; without one the phases "
         "of the unit are compared with each other")
      ->expected(0, 1)
      ->type_name("[OTHER]")
      ->trigger_on_parse();
  app.add_option("-o,--output", options.output, "the page; standard output without it");
  app.add_flag("--pdf", options.pdf, "print the page to a PDF beside it, by an installed browser");
  app.add_flag("--example", options.example, "write a commented report.toml and end");
}

bool write(const std::filesystem::path& path, std::string_view bytes) {
  if (path.empty()) {
    report::platform::use_binary_output();
    std::cout << bytes << std::flush;
    return static_cast<bool>(std::cout);
  }
  std::ofstream file(path, std::ios::binary);
  file << bytes << std::flush;
  return static_cast<bool>(file);
}

int say(int status, std::string_view message) {
  std::cerr << "kvr-report: " << message << '\n';
  return status;
}

int print_pdf(const std::filesystem::path& page) {
  std::filesystem::path pdf = page;
  pdf.replace_extension(".pdf");
  const auto browser = report::platform::find_browser();
  if (!browser) {
    return say(
        kNotWritten,
        "no Chromium, Chrome or Edge found for --pdf; open the page in any browser and print "
        "it to a file, without the browser's own headers and footers");
  }
  std::error_code ignored;
  std::filesystem::remove(pdf, ignored);
  report::platform::run(*browser,
                        {"--headless", "--no-sandbox", "--disable-gpu", "--no-pdf-header-footer",
                         "--print-to-pdf=" + pdf.string(), report::file_uri(page)});
  return std::filesystem::exists(pdf)
             ? 0
             : say(kNotWritten, browser->string() + " made no PDF; print the page by hand");
}

int run(const Options& options) {
  if (options.example) {
    return write(options.output, report::example_settings()) ? 0 : say(kNotWritten, "can't write");
  }
  if (options.pdf && options.output.empty()) {
    return say(kRefused, "--pdf needs -o");
  }
  const report::Sources& sources = options.sources;
  if (sources.tape.empty() && sources.store.empty() && sources.runs.empty() &&
      sources.settings.empty()) {
    return say(kRefused, "nothing to report: name --tape, --store, --runs or --with");
  }
  const std::string page = report::make_page(options.sources, KVR_VERSION);
  if (!write(options.output, page)) {
    return say(kNotWritten, options.output.string() + " can't be written");
  }
  return options.pdf ? print_pdf(options.output) : 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Makes a page of measurements that can be signed and sent.", "kvr-report");
  Options options;
  add_options(app, options);
  try {
    app.parse(argc, argv);
    return run(options);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kRefused;
  } catch (const report::Problems& problems) {
    for (const std::string& line : problems.lines) {
      std::cerr << line << '\n';
    }
    return kRefused;
  } catch (const std::exception& error) {
    return say(kRefused, error.what());
  }
}
