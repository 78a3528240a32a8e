// Nothing, to measure the cost of loading an empty library.
