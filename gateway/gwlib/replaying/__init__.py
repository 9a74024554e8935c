"""Playing a recording to a fresh daemon, and comparing what it does with what it did."""
