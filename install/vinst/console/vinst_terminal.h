#pragma once

bool stdout_is_terminal();
