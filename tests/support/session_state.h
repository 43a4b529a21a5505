#pragma once

/// Puts the process-wide session state and the stop handling back to what a fresh program has.
void reset_session();
