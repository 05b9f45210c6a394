// A library that is not a plug-in: it exports nothing.
