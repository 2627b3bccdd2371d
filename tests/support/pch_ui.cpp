// Host of the precompiled header shared by the session and widget tests.
