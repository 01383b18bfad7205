#include "frame/operations/exports.hpp"

#include "frame/host_services.hpp"
#include "frame/operations/factory.hpp"
#include "frame/operations/version_record.hpp"

extern "C" {

std::int32_t ovextent(HostServices* services) {
    ovrelin::hostServices = services;
    return 0;
}

ExtensionFactory* ovrelinEntry(void* /*ignored*/, MemoryPool* parentPool) {
    return ovrelin::createFactory(parentPool);
}

void ovvercn1(std::uint64_t record[OVRELIN_VERSION_WORDS]) {
    ovrelin::fillVersionRecord(record);
}

}  // extern "C"
