#pragma once
#define LIMIT 0.25
