/* The whole framework API. */
#ifndef VCFG_H
#define VCFG_H

#include <vcfg/codes.h>
#include <vcfg/fe.h>
#include <vcfg/msg.h>
#include <vcfg/msg_types.h>
#include <vcfg/os.h>
#include <vcfg/rdm.h>
#include <vcfg/recorder.h>
#include <vcfg/schema.h>

#endif
