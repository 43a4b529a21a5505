#pragma once

#include <set>
#include <string>
#include <string_view>

// Which fields may differ from a tape. Nothing may unless a file says so, field by field.
namespace tape {

/// Fields that may differ: by "CALL.FIELD", where "*" stands for any call and a last "*" for the
/// rest of a name.
class Tolerance {
 public:
  /// Allows nothing.
  Tolerance() = default;

  /// Reads {"fields": ["kvr_GetDeviceInfo.info.device_date_time", ...]}. Throws TapeError.
  explicit Tolerance(const std::string& file);

  bool is_empty() const { return fields_.empty(); }

  bool allows(std::string_view call, const std::string& field) const;

 private:
  std::set<std::string> fields_;
};

}  // namespace tape
