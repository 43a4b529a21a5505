"""The fixtures that the package has for its users."""

pytest_plugins = ["kvr.pytest_plugin"]
