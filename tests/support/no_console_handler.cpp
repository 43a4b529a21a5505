#include "platform/platform.h"

// Each registration of a stop handler would start a thread that waits for signals to the end of the
// process. The linker puts this in its place.
extern "C" bool __wrap__ZN8platform23install_console_handlerEPFimEPFvmE(platform::ConsoleHandler,
                                                                        platform::EndHandler) {
  return true;
}
