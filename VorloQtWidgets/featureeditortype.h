#pragma once

// The inline editor a row of the feature tree gets in its value column.
// The numbers are part of the interface: the delegate and the view switch on them.
enum EFeatureEditorType
{
    EditorInteger = 0,             // IInteger, plain representation
    EditorIntegerSlider = 1,       // IInteger, Linear or Logarithmic
    EditorFloat = 2,               // IFloat, plain representation
    EditorFloatSlider = 3,         // IFloat, Linear or Logarithmic
    EditorEnumeration = 4,         // IEnumeration
    EditorBoolean = 5,             // IBoolean
    EditorString = 6,              // IString
    EditorCommand = 7,             // ICommand
    EditorFloatReserved = 8,       // never assigned; handled like EditorFloat where it is tested
    EditorFloatSliderReserved = 9, // never assigned; handled like EditorFloatSlider where it is tested
    EditorNone = 10,               // categories, registers, ports and plain rows
    EditorInvalid = 11             // no node, or the node failed while being classified
};
