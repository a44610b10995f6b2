// What the host needs to know about the terminal its log goes to: whether
// standard output is one (colours, a live progress bar and line-by-line
// flushing only make sense there) and how wide it is.
#pragma once

namespace brivant::platform {

/// True when standard output is an interactive terminal, false when it is a
/// file, a pipe or closed.
bool IsStandardOutputTerminal();

/// The width in columns of the terminal on standard output; 0 when standard
/// output is no terminal or the terminal does not say. COLUMNS is not read: a
/// resized terminal changes the answer while the process runs.
int StandardOutputColumns();

}  // namespace brivant::platform
