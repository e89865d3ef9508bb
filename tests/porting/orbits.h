// What the kernels of orbits share.
#pragma once

#define SOFTENING 0.01

struct Body {
	vec3 position;
	float mass;
	vec3 velocity;
	float energy;
};

vec3 Attraction(vec3 at, Body other) {
	vec3 d = other.position - at;
	float square = dot(d, d) + SOFTENING;
	return d * (other.mass / (square * sqrt(square)));
}

void Kick(inout Body body, vec3 force, float dt) {
	body.velocity += force * dt;
	body.position += body.velocity * dt;
}
