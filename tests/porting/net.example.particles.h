#ifndef NET_EXAMPLE_PARTICLES_H
#define NET_EXAMPLE_PARTICLES_H

#define MAX_AGE 4.0
#define BOUNCE(v) (-(v) * 0.5)

struct Particle {
	vec3 position;
	float age;
	vec3 velocity;
	uint flags;
};

const vec3 kGravity = vec3(0.0, -9.5, 0.0);

Particle Step(Particle p, float dt, float drag = 0.125) {
	p.velocity += (kGravity - p.velocity * drag) * dt;
	p.position += p.velocity * dt;
	p.age += dt;
	return p;
}

#endif
