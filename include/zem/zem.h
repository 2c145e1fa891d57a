// The whole public interface of libzem.
#pragma once

#include "zem/bean_factory.h"
#include "zem/container.h"
#include "zem/diagnostics.h"
#include "zem/exception.h"
#include "zem/export.h"
#include "zem/library.h"
#include "zem/object.h"
#include "zem/policy.h"
#include "zem/services.h"
#include "zem/typed_wrapper.h"
#include "zem/version.h"
