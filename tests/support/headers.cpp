// The place of the headers that all tests share, compiled once.
