// Placeholder so the application library has a source until the driver lands.
