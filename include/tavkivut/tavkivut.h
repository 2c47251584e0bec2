#ifndef TAVKIVUT_TAVKIVUT_H
#define TAVKIVUT_TAVKIVUT_H

// Every family of the library.

#include "tavkivut/cabinet.h"
#include "tavkivut/config.h"
#include "tavkivut/crc32.h"
#include "tavkivut/crypt.h"
#include "tavkivut/distribution.h"
#include "tavkivut/file.h"
#include "tavkivut/frame.h"
#include "tavkivut/ini.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/install_service.h"
#include "tavkivut/ipc.h"
#include "tavkivut/java.h"
#include "tavkivut/line_file.h"
#include "tavkivut/net_services.h"
#include "tavkivut/network.h"
#include "tavkivut/path.h"
#include "tavkivut/process.h"
#include "tavkivut/reg_exp.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"
#include "tavkivut/service_control.h"
#include "tavkivut/system.h"
#include "tavkivut/tools.h"
#include "tavkivut/xml.h"

#endif
