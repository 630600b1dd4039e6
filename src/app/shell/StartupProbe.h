#pragma once

class QuorvaneApp;

// For the cold-start benchmark: with QUORVANE_STARTUP_PROBE=1 in the environment the program
// writes "frame" to standard output when the panel's first frame is drawn, "feed" when the
// stored feed is in, then its peak memory ("peak_kb N", where the system tells it) and quits.
// Without the variable it does nothing. The benchmark runs with no tray host, so the panel
// opens at start and its first frame is the program's first frame.
void installStartupProbe(QuorvaneApp &app);
