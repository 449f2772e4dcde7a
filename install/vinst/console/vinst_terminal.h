#pragma once

struct VINST_TERMINAL_SIZE
{
    int rows = 24;
    int columns = 80;
};

bool stdout_is_terminal();

/// The current size of the terminal on standard output; the default above if it can't be queried.
VINST_TERMINAL_SIZE terminal_size();

/// How many cells of a terminal's row the character takes: 0 for a combining character, 2 for a
/// wide one, otherwise 1.
int cell_width(char32_t character);
