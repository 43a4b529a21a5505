#pragma once

/// The single-phase ratio test: its dialogue, its run, its files. Throws
/// KVR_RES_INSTRUMENT_TYPE_NOT_SUPPORTED for an instrument of an undefined type.
void Single_Phase();
