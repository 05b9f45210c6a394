// A library that is no plug-in: nothing is exported.
