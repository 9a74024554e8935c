#include "link/link_turn.h"

FairLock linkTurn;
