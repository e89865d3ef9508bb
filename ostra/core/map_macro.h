// OSTRA_MAP: a macro for each of its arguments.
//
//   #define DECLARE(name) int name;
//   OSTRA_MAP(DECLARE, first, second)      // int first; int second;
#pragma once

// macro(a) macro(b) ... for up to 256 arguments.
#define OSTRA_MAP(macro, ...) __VA_OPT__(OSTRA_RESCAN_256(OSTRA_MAP_NEXT(macro, __VA_ARGS__)))
#define OSTRA_MAP_NEXT(macro, first, ...) macro(first) __VA_OPT__(OSTRA_MAP_AGAIN OSTRA_PARENTHESES(macro, __VA_ARGS__))
#define OSTRA_MAP_AGAIN() OSTRA_MAP_NEXT
#define OSTRA_PARENTHESES ()
#define OSTRA_RESCAN_256(...) OSTRA_RESCAN_64(OSTRA_RESCAN_64(OSTRA_RESCAN_64(OSTRA_RESCAN_64(__VA_ARGS__))))
#define OSTRA_RESCAN_64(...) OSTRA_RESCAN_16(OSTRA_RESCAN_16(OSTRA_RESCAN_16(OSTRA_RESCAN_16(__VA_ARGS__))))
#define OSTRA_RESCAN_16(...) OSTRA_RESCAN_4(OSTRA_RESCAN_4(OSTRA_RESCAN_4(OSTRA_RESCAN_4(__VA_ARGS__))))
#define OSTRA_RESCAN_4(...) OSTRA_RESCAN(OSTRA_RESCAN(OSTRA_RESCAN(OSTRA_RESCAN(__VA_ARGS__))))
#define OSTRA_RESCAN(...) __VA_ARGS__
