#include "utils/text_utils.h"

#include <string>

#include "common/errors.h"

void TextUtils::copy_safe(const char* context, char* target, std::size_t size,
                          std::string_view source) {
  if (source.size() >= size) {
    const std::string field = context == nullptr ? "" : context;
    throw kvr_exception(KVR_RES_TEXT_TOO_LONG,
                        "TextUtils::copy_safe " + field + " - (src_len >= buf_size) src:" +
                            std::string(source) + " buf_size:" + std::to_string(size),
                        kLogged, "copy_safe_internal");
  }
  std::string_view::traits_type::move(target, source.data(), source.size());  // may overlap
  target[source.size()] = '\0';
}
