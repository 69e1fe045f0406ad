function seeded(seed)
%SEEDED  Starts the random numbers of a test from a printed seed.
  printf('random seed %d\n', seed);
  rand('twister', seed);
end
