// The tests are in body.so, which the main function loads.
