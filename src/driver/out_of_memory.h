// What the program does where memory is too short even to throw.
#pragma once

// The last words of a run that failed, whatever the reason. One line, without its end.
inline constexpr char didNotComplete[] =
    "Morvik did not complete. Please run morvik manually (see man morvik for help).";
