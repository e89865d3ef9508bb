#ifndef TOUR_H__
#define TOUR_H__
#define LIMIT 3.5
#define SQUARE(x) ((x) * (x))
#endif
