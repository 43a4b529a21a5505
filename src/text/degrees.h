#pragma once

/// Radians as degrees in single precision, folded into -180 to 180 by one turn at most.
float folded_degrees(float radians);
