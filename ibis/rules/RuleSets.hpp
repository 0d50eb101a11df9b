#pragma once

#include "ibis/rules/Check.hpp"

/// The subjects of the rules, by number.
namespace ibis {

const RuleSet& HeaderRules();  ///< 150-159: [IBIS Ver], [File Name] and what else stands before the
                               ///< first component
const RuleSet& ComponentRules();  ///< 200-215: components with their pins
const RuleSet& PackageRules();    ///< 202-206: [Package]
const RuleSet& PinTableRules();   ///< 220-239: the tables that refer to pins
const RuleSet& PairRules();       ///< 230-233: [Diff Pin]
const RuleSet& ReferenceRules();  ///< 240-243: what a component refers to by name
const RuleSet& SelectorRules();   ///< 300-302: model selectors
const RuleSet& ModelRules();  ///< 303-312, 328: names, types, thresholds, timing loads of models
const RuleSet& ModelValueRules();      ///< 313-327: capacitances, supplies, temperatures of models
const RuleSet& ModelTypeRules();       ///< 350-361: what each model type needs and forbids
const RuleSet& SeriesRules();          ///< 357-359, 640: elements between two pins
const RuleSet& CurveRules();           ///< 400-422: I-V tables, whatever they are of
const RuleSet& IvTableRules();         ///< 408-420: each of the four tables of a buffer
const RuleSet& BufferRules();          ///< 406-421: a buffer's tables together
const RuleSet& RampRules();            ///< 450-457: [Ramp]
const RuleSet& WaveformRules();        ///< 500-525: V-t tables
const RuleSet& WaveformShapeRules();   ///< 508-516: what the waveforms show
const RuleSet& SpecRules();            ///< 600-612: [Model Spec], [Receiver Thresholds]
const RuleSet& SubmodelRules();        ///< 620-625: submodels
const RuleSet& ScheduleRules();        ///< 630, 631: driver schedules
const RuleSet& ExternalRules();        ///< 650-655: [External Model], [External Circuit]
const RuleSet& TestDataRules();        ///< 660-670: [Test Data], [Test Load], emissions
const RuleSet& PackageModelRules();    ///< 700-710: package models with their pins
const RuleSet& PackageMatrixRules();   ///< 704-707, 711: their matrices
const RuleSet& PackagePhysicsRules();  ///< 708, 709: whether there can be such a package
const RuleSet& BoardRules();           ///< 740-745: board descriptions
const RuleSet& InterconnectRules();    ///< 750-754: interconnect model sets
const RuleSet& InterconnectGroupRules();  ///< 752, 753: the sets that a component uses
const RuleSet& ModuleRules();             ///< 760, 761: module descriptions
const RuleSet& LibraryRules();            ///< 803, 805, 809: the files that it names
const RuleSet& AlgorithmicRules();        ///< 800-809: [Algorithmic Model]

}  // namespace ibis
