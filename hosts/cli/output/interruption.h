// A program that is interrupted leaves the terminal as it found it.

#ifndef TROVEX_HOSTS_CLI_INTERRUPTION_H
#define TROVEX_HOSTS_CLI_INTERRUPTION_H

namespace trovex::cli {

class Progress;

/// From now on, signals that end the program first erase its traces, and a pipe that nobody reads is
/// an error of writing.
void HandleInterruptions();

/// What could stand on a terminal when the program ends: the line of `progress`, and with `colors` and `links` a
/// colour and a link on the standard output. `progress` lives until the program ends.
void RemoveTracesOf(const Progress& progress, bool colors, bool links);

/// Takes these traces away. May be called by a signal's handler.
void EraseTraces();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_INTERRUPTION_H
