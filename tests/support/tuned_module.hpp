// The module linked into the program, its solves run with parameters of the test's choice:
//
//   ovtest::tunedParameters().presolve.reductions = false;
//   ov::Solver solver(host, ovextent, ovtest::tunedEntry);
//
// The operations of an instance carry no parameters, so that they are one record for the program.
#pragma once

#include "frame/operations/exports.hpp"
#include "frame/operations/solve_entry.hpp"

namespace ovtest {

inline ovrelin::SolverParameters& tunedParameters() {
    static ovrelin::SolverParameters parameters;
    return parameters;
}

namespace tuned {

inline void* (*createUntuned)(void) = nullptr;

inline std::int32_t solveWithOptions(SolverInstance* instance, ProblemInput* problem,
                                     const InstanceOptions* options) {
    return ovrelin::solveEntry(instance, problem, options, tunedParameters());
}

inline std::int32_t solve(SolverInstance* instance, ProblemInput* problem) {
    return solveWithOptions(instance, problem, &instance->defaultOptions);
}

inline void* createInstance() {
    auto* instance = static_cast<SolverInstance*>(createUntuned());
    if (instance != nullptr) {
        instance->solveWithOptions = solveWithOptions;
        instance->solve = solve;
    }
    return instance;
}

}  // namespace tuned

inline ExtensionFactory* tunedEntry(void* ignored, MemoryPool* parentPool) {
    ExtensionFactory* factory = ovrelinEntry(ignored, parentPool);
    if (factory != nullptr) {
        tuned::createUntuned = factory->createInstance;
        factory->createInstance = tuned::createInstance;
    }
    return factory;
}

}  // namespace ovtest
