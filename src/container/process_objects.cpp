// Definition order is construction order within this file, and static
// destruction runs in reverse: the startup mutex and the shared factory's slot
// outlive the property pool, which outlives the census and the release table.
#include "container/process_objects.h"

#include "container/lifecycle.h"
#include "library/release_table.h"
#include "types/property_pool.h"

namespace ZEM {

namespace {

std::mutex g_startupMutex;
std::weak_ptr<IBeanFactory> g_sharedFactory;
CPropertyPool g_propertyPool;
CInstanceCensus g_instanceCensus;
CReleaseTable g_releaseTable;

}  // namespace

std::mutex& StartupMutex() { return g_startupMutex; }
std::weak_ptr<IBeanFactory>& SharedFactory() { return g_sharedFactory; }
std::shared_ptr<IBeanFactory> LockSharedFactory() { return g_sharedFactory.lock(); }
CPropertyPool& PropertyPool() { return g_propertyPool; }
CInstanceCensus& InstanceCensus() { return g_instanceCensus; }
CReleaseTable& ReleaseTable() { return g_releaseTable; }

}  // namespace ZEM
