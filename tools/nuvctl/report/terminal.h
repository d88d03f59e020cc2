// The terminal that an answer goes to, where it goes to one.
#pragma once

#include <optional>
#include <string>

// Its width; nothing where the standard output is none, or one that does not tell.
std::optional<size_t> TerminalColumns();

// "always", "never", or "auto": where the standard output is a terminal and the user's NO_COLOR does not say otherwise.
void ChooseColour(const std::string& when);

// The word of a state in its colour, where there is one and colour is wanted.
std::string PaintedState(const std::string& state);
