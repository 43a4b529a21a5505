#include "platform/platform.h"

// Each registration of a stop handler would start a thread that waits for signals until the process
// ends. The linker replaces that function by this one.
extern "C" bool __wrap__ZN8platform23install_console_handlerEPFimEPFvmE(platform::ConsoleHandler,
                                                                        platform::EndHandler) {
  return true;
}
