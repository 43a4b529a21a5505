#include "support/processor_limit.h"

ProcessorLimit::ProcessorLimit(int, const std::string&) {}

ProcessorLimit::~ProcessorLimit() = default;
