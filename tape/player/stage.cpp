#include "tape/player/stage.h"

#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tape/format/sha256.h"
#include "tape/platform/system.h"
#include "tape/vocabulary/layouts.h"

namespace tape {
namespace {

[[noreturn]] void refuse(const std::string& reason) {
  platform::complain("kvr-tape: can't play: " + reason);
  platform::end_at_once(kNoTape);
}

std::chrono::milliseconds patience() {
  const std::string text = platform::environment_text("KVR_TAPE_PATIENCE");
  int seconds = 10;
  std::from_chars(text.data(), text.data() + text.size(), seconds);
  return std::chrono::seconds(seconds);
}

/// What the file beside the tape allows; nothing without one.
Tolerance tolerance_beside(const std::string& tape) {
  const std::string file = tape + ".tolerance.json";
  std::error_code error;
  return std::filesystem::exists(file, error) ? Tolerance(file) : Tolerance();
}

std::string fingerprint() {
  char digits[20];
  return {digits,
          std::to_chars(std::begin(digits), std::end(digits), layouts_fingerprint(), 16).ptr};
}

/// Bytes as JSON wants them: UTF-8, of one character a byte.
std::string plain(const std::string& text) {
  std::string result;
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte < 0x80) {
      result += letter;
    } else {
      result += static_cast<char>(0xC0U | byte >> 6U);
      result += static_cast<char>(0x80U | (byte & 63U));
    }
  }
  return result;
}

nlohmann::ordered_json to_json(const Divergence& divergence) {
  nlohmann::ordered_json json;
  json["form"] = divergence.form;
  json["line"] = divergence.line;
  json["recorded"] = plain(divergence.recorded);
  json["now"] = plain(divergence.present);
  json["fields"] = nlohmann::ordered_json::array();
  for (const Difference& field : divergence.fields) {
    json["fields"].push_back({{"field", plain(field.field)},
                              {"recorded", plain(field.first)},
                              {"now", plain(field.second)}});
  }
  return json;
}

/// At the end of the process.
struct Leaving {
  Stage* stage = nullptr;
  ~Leaving() {
    if (stage != nullptr) {
      stage->leave(!platform::threads_are_gone_at_exit());
    }
  }
};

Leaving leaving;

}  // namespace

Stage::Stage() : file_(platform::environment_text("KVR_TAPE_FILE")) {
  if (file_.empty()) {
    refuse("KVR_TAPE_FILE names no tape");
  }
  try {
    const std::string text = read_file(file_);
    hash_ = sha256(text);
    Tape tape = parse_tape(text);
    if (tape.header.layouts != fingerprint()) {
      refuse(file_ + ": recorded with other layouts of records");
    }
    PlayerOptions options;
    options.patience = patience();
    options.recorded_speed = platform::environment_text("KVR_TAPE_SPEED") == "1";
    options.tolerance = tolerance_beside(file_);
    options.on_callback = [this](const Event& event) { run_callback(event); };
    options.on_divergence = [this](const Divergence& divergence) {
      platform::complain(divergence.text());
      write_receipt(&divergence);
      platform::end_at_once(kDiverged);
    };
    options.on_complete = [this] { write_receipt(nullptr); };
    player_.emplace(std::move(tape), std::move(options));
  } catch (const TapeError& error) {
    refuse(file_ + ": " + error.what());
  }
  write_receipt(nullptr);
}

const Fields& Stage::call(std::string_view name, const Fields& fields) {
  return player_->call(name, fields).fields;
}

void Stage::set_status_callback(const kvr_InitParams* params) {
  if (params != nullptr) {
    const std::lock_guard lock(mutex_);
    std::memcpy(&params_, params, sizeof params_);
  }
}

void Stage::set_progress_callback(const kvr_ProgressHandler* handler) {
  if (handler != nullptr) {
    const std::lock_guard lock(mutex_);
    progress_ = *handler;
  }
}

void Stage::run_callback(const Event& event) {
  kvr_InitParams params;
  kvr_ProgressHandler handler;
  {
    const std::lock_guard lock(mutex_);
    params = params_;
    handler = progress_;
  }
  const Value& first = event.fields.front().value;
  if (event.name == "status" && params.status_callback != nullptr) {
    const Value& text = event.fields.back().value;
    params.status_callback(params.status_context, static_cast<kvr_code>(first.number),
                           text.kind == Value::Kind::kNothing ? nullptr : text.bytes.c_str());
  } else if (event.name == "progress" && handler.progress_callback != nullptr) {
    kvr_Progress progress{};
    if (first.kind == Value::Kind::kBlock) {
      std::memcpy(&progress, first.bytes.data(), sizeof progress);
    }
    handler.progress_callback(handler.progress_context,
                              first.kind == Value::Kind::kBlock ? &progress : nullptr);
  }
}

void Stage::write_receipt(const Divergence* divergence) {
  std::string file = platform::environment_text("KVR_TAPE_RECEIPT");
  if (file.empty()) {
    file = file_ + ".receipt.json";
  }
  nlohmann::ordered_json json;
  json["tape"] = plain(std::filesystem::path(file_).filename().string());
  json["sha256"] = hash_;
  json["expected"] = player_ ? player_->expected() : 0;
  json["served"] = player_ ? player_->served() : 0;
  json["complete"] = player_ && player_->served() == player_->expected();
  json["divergence"] = divergence == nullptr ? nlohmann::ordered_json() : to_json(*divergence);
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << json.dump(2) << '\n';
}

void Stage::leave(bool patient) {
  if (player_) {
    player_->leave(patient);
  }
}

Stage& stage() {
  static Stage& instance = []() -> Stage& {
    auto& made = *new Stage;
    leaving.stage = &made;
    return made;
  }();
  return instance;
}

}  // namespace tape
