#include "text/result_bodies.h"
#include "text/text_output.h"

namespace {

void write_drm_summary(const kvr_TestData_Drm& r, TextWriter& text) {
  if (const kvr_TestData_Drm_Transition* const first = r.first_transition) {
    text << "transisiont count: " << r.transition_count
         << " total time: " << first->end_time - first->start_time << '\n';
  }
}

}  // namespace

void write_drm_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  text << "DRM\n";
  if (const kvr_TestData_Drm* const r = data_entry(record.data_drm, i)) {
    write_drm_summary(*r, text);
  }
}

void KVR_Text_Output::DrmSummaryToText(const kvr_TestData_Drm* record, std::ostringstream& out) {
  TextWriter text(out);
  write_drm_summary(*record, text);
}
