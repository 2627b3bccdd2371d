// Host of the precompiled header shared by the plain-logic tests.
