// The unit that tests/precompiled.h is compiled with. It holds nothing: a target wants one.
