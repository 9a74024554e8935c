"""The tests of the port share the namespace and the receiver of kernel events with those of the gateway's platform."""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "tests" / "contract"))
