#pragma once

// From here on, whatever this process mounts is seen by nobody outside its mount namespace, and its root is a mount.
void makeMountsOwn();
