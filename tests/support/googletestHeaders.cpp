// Only the headers that cmake/testing.cmake precompiles for the test programs.
