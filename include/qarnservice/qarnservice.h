/* libqarnservice: with it a process answers as a service of the switch. It connects the process (service.h), reads the
 * request for the configuration (request.h), builds the reply (reply.h) and cuts it into messages (fragments.h).
 *
 * Objects are independent of each other. Different threads may use different objects at the same time, but not the
 * same one; service.h lists the exceptions. */
#ifndef QARNSERVICE_QARNSERVICE_H
#define QARNSERVICE_QARNSERVICE_H

#include <qarnservice/error.h>
#include <qarnservice/fragments.h>
#include <qarnservice/reply.h>
#include <qarnservice/request.h>
#include <qarnservice/service.h>

#endif
