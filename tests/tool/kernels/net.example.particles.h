#ifndef NET_EXAMPLE_PARTICLES_H__
#define NET_EXAMPLE_PARTICLES_H__

#define CELLS 3

struct Body
{
	vec3 axis;
	float mass;
	vec2 spin;
};

struct Particle
{
	vec3 position; // in metres
	uint id;
	Body body;
	mat3 frame;
	mat4 turn;
	vec4 colour;
	int cells[CELLS];
	uint2 cell;
	Body others[2];
};

inline float Weigh(Body body)
{
	return body.mass * body.spin.y;
}

#endif
