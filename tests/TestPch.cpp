// Gives the test support library a source of its own, so that it exists without further helpers.
