#include <string>
#include <vector>

#include "contract/contract.h"

// Rules of status callbacks: order, thread, calls allowed within them, and silence after shutdown.

namespace contract {
namespace {

void events(Check& check) {
  Events seen;
  {
    const Session session(check, &seen);
    std::size_t count = 0;
    // No wait between the two in the middle: the library must keep their order.
    for (const auto& [scene, events_more] :
         {std::pair{"emergency", 1}, std::pair{"interlock", 2}, std::pair{"healthy", 1}}) {
      check.scenes.set(scene);
      count += static_cast<std::size_t>(events_more);
      check.require(seen.wait_for(count).size() >= count,
                    std::string("no event came in the scene ") + scene);
    }
  }
  const std::vector<Events::Event> all = seen.wait_for(0);
  const kvr_code expected[] = {KVR_RES_EMERGENCY_STOP_PRESSED, KVR_RES_EMERGENCY_STOP_RELEASED,
                               KVR_RES_INTERLOCK_ON, KVR_RES_INTERLOCK_OFF};
  check.require(all.size() == std::size(expected), std::to_string(all.size()) + " events came");
  for (std::size_t place = 0; place < all.size(); ++place) {
    check.answer("event " + std::to_string(place + 1) + ": it", all[place].code, expected[place]);
    check.that(all[place].thread != std::this_thread::get_id(),
               "an event was reported on the thread of a caller");
    check.that(all[place].thread == all[0].thread, "events were reported on several threads");
  }
}

void calls_within_events(Check& check) {
  Events seen;
  bool connected = false;
  bool worded = false;
  seen.reaction = [&](kvr_code code) {
    worded = check.api.kvr_CodeToString(code) != nullptr;
    connected = check.api.kvr_CheckConnection() == 0;
  };
  const Session session(check, &seen);
  check.scenes.set("emergency");
  check.require(!seen.wait_for(1).empty(), "no event came for the emergency button");
  check.that(worded, "kvr_CodeToString has no text within a status callback");
  check.that(connected, "kvr_CheckConnection sees no connection within a status callback");
}

void lost_connection(Check& check) {
  Events seen;
  int state = 0;
  kvr_code shutdown = KVR_RES_INTERNAL_ERROR;
  seen.reaction = [&](kvr_code) {
    state = check.api.kvr_CheckConnection();
    shutdown = check.api.kvr_Lib_Shutdown();
  };
  const Session session(check, &seen);
  check.scenes.set("unplugged");
  check.require(!seen.wait_for(1).empty(), "no event came for a lost connection");
  check.that(state != 0, "kvr_CheckConnection sees a connection when its loss is reported");
  check.answer("kvr_Lib_Shutdown within a status callback", shutdown, KVR_RES_OK);
  check.answer("kvr_LockAPI after that", check.api.kvr_LockAPI(), KVR_RES_LIB_NOT_INITIALIZED);
  check.scenes.set("healthy");
  const Session next(check, nullptr);
  check.that(check.api.kvr_CheckConnection() == 0, "the next session has no connection");
}

void silence_after_shutdown(Check& check) {
  Events seen;
  {
    const Session session(check, &seen);
    check.scenes.set("emergency");
    check.api.kvr_CheckConnection();
  }
  const std::size_t count = seen.size();
  check.scenes.set("healthy");
  for (int times = 0; times < 20; ++times) {
    check.api.kvr_CheckConnection();
    check.api.kvr_CodeToString(KVR_RES_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  check.that(seen.size() == count, "an event was reported after kvr_Lib_Shutdown had returned");
}

}  // namespace

std::vector<Rule> callback_rules() {
  return {
      {"events", "events are reported in their order, on one thread of the library's own", events,
       Rule::kScenes},
      {"calls-within-events", "a status callback may ask for the text and the connection",
       calls_within_events, Rule::kScenes},
      {"lost-connection",
       "a lost connection is reported, and the library can be shut down from there",
       lost_connection, Rule::kScenes},
      {"silence-after-shutdown", "no callback comes once kvr_Lib_Shutdown has returned",
       silence_after_shutdown, Rule::kScenes},
  };
}

}  // namespace contract
