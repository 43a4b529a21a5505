#include "api/codes.h"
#include "text/result_bodies.h"
#include "text/text_output.h"

namespace {

void write_point(const kvr_TestData_Point& point, TextWriter& text) {
  text << point.name << " Ua=" << point.ua << " V, Ia=" << point.ia << ", Ii=" << point.ii << " A";
  if (point.state != KVR_POINT_DISCHARGING) {
    text << ", Rm=" << point.rm << " Ohm,%  stability: " << point.stability;
    if (point.state == KVR_POINT_STABLE) {
      text << '(' << point.stabilization_ms << " ms)";
    }
  }
  text << ' ' << KVR_Text_Output::PointStateText(point.state);
  if (point.error != KVR_RES_OK) {
    text << " error: " << CodeToText(point.error);
  }
  text << '\n';
  if (const kvr_TestData_Transition* const transition = point.transition) {
    text << "transition " << point.name << " from " << transition->from << " to " << transition->to
         << " status: ";
    if (transition->status != KVR_RES_OK) {
      text << CodeToText(transition->status);
    }
    text << '\n';
  }
}

void write_points(kvr_TestData_Point* const* points, std::uint32_t count, TextWriter& text) {
  for (std::uint32_t k = 0; points != nullptr && k < count; ++k) {
    if (points[k] != nullptr) {
      write_point(*points[k], text);
    }
  }
}

void write_taps(const kvr_TestData_Taps& list, TextWriter& text) {
  for (std::uint32_t k = 0; list.taps != nullptr && k < list.count; ++k) {
    if (const kvr_TestData_Tap* const tap = list.taps[k]) {
      text << " tap: " << tap->tap << '\n';
      write_points(tap->points, tap->point_count, text);
    }
  }
}

/// The name of a side has no line end: the line of its first tap continues it.
void write_side(std::string_view name, const kvr_TestData_Taps* taps, TextWriter& text) {
  if (taps != nullptr) {
    text << name;
    write_taps(*taps, text);
  }
}

void write_sides(const kvr_TestData_Sides& sides, TextWriter& text) {
  write_side("primary", sides.primary, text);
  write_side("secondary", sides.secondary, text);
  write_side("tertiary", sides.tertiary, text);
}

void write_resistance(const kvr_TestData_Resistance* r, TextWriter& text) {
  if (r == nullptr) {
    return;
  }
  if (r->sides != nullptr) {
    write_sides(*r->sides, text);
  }
  text << "Test duration(ms) = " << r->duration_ms << '\n';
}

}  // namespace

void write_resistance_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  write_resistance(data_entry(record.data_resistance, i), text);
}

void write_heatrun_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  write_test_number(i, text);  // a second time: deliberate, readers of heat runs expect it
  write_resistance(data_entry(record.data_heatrun, i), text);
}

void KVR_Text_Output::PointToText(const kvr_TestData_Point* point, std::ostringstream& out) {
  TextWriter text(out);
  write_point(*point, text);
}

void KVR_Text_Output::TapsToText(const kvr_TestData_Taps* taps, std::ostringstream& out) {
  TextWriter text(out);
  write_taps(*taps, text);
}

void KVR_Text_Output::SidesToText(const kvr_TestData_Sides* sides, std::ostringstream& out) {
  TextWriter text(out);
  write_sides(*sides, text);
}

void KVR_Text_Output::ProgressToText(const kvr_TestData_Progress* record, std::ostringstream& out) {
  static constexpr std::string_view kSaved[] = {"", "", "POINT SAVED (partial phase)",
                                                "POINT SAVED (full phase)",
                                                "POINT SAVED (test completed)"};
  TextWriter text(out);
  text.fixed();
  text.precision(kCommonPrecision);
  text << '\n';
  if (record->saved < std::size(kSaved)) {
    text << kSaved[record->saved];
  }
  if (record->tap != 0 || record->tap_count != 0) {
    text << "tap: " << record->tap << '/' << record->tap_count << '\n';
  }
  if (record->status != KVR_RES_OK) {
    text << "STATUS: " << CodeToText(record->status) << '\n';
  }
  write_points(record->points, record->point_count, text);
}
