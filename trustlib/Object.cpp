#include "trustlib/Object.h"

Object::~Object() = default;
