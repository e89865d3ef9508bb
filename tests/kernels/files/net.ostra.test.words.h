#ifndef NET_OSTRA_TEST_WORDS_H__
#define NET_OSTRA_TEST_WORDS_H__

#define TWICE(x) (2.0 * (x))

inline void Halve(inout Float32 value)
{
	value = value * 0.5;
}

#endif
