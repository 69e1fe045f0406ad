// The same source with other flags: those of a program that lets its compiler fuse.

#include "values.cpp"
