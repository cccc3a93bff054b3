// Carries the precompiled headers of the suites; it has no code of its own.
