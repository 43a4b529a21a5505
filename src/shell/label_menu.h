#pragma once

/// The operator's view of the terminal labels: asks for a labelling standard and a vector group,
/// and shows the labels of each phase, or of the six terminal pairs; again and again until the
/// operator leaves. Needs no instrument.
void label_menu();
