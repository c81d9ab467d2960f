"""Options of the tests."""


def pytest_addoption(parser):
    parser.addoption("--zan-version", default=None, help="what zan.__version__ must be")
