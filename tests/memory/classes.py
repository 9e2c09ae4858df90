#!/usr/bin/env python3
"""Compares the public classes with what the tests of failing allocations use.

classes.py SOURCE_DIR: every class of a public header has to be named in tests/memory/*.cpp, or in EXEMPT below with the
reason why it is not. Ends with 1 and a line for each fault.
"""
import pathlib
import re
import sys

EXEMPT = {
    "an interface over a record that lies elsewhere": """CChannelDescriptionInterface CClavisPODOwnerInterface
        CDescriptionInterface CMeasuringResultAggregateInterface CMeasuringResultBaseInterface CMeasuringResultScalarInterface
        CMeasuringUnitInterface CSetPointInterface CSignalBaseInterface CXChannelDescriptionInterface""",
    "a record that lies within its object": """CChannelDescription CClavisPODOwner CMeasuringResultBase CMeasuringResultScalar
        CSetPoint CSignalBase CXChannelDescription CYChannelDescription""",
    "the base of classes that are tested": """CBlockSource CCanMessageDecoderBase CComboBox CComboBoxControl CComboBoxList
        CEdgeSource CFueGroeListe CFueGroeListeBasis CPODOwner CRecordOwner CSerializable CSideRecord CSignal
        CVisData3dObject CVisDataSamples""",
    "part of one that is tested": """CAngleResampler CCampbellMap CCsvReader CFueGroeHop CLevelFinder COrderMap COrderTracker
        CPulseAssembler CPulseJudge CRealTransform CRecordingSource CRecordingStatistics CSpectrogramStream CStridedIterator
        CSwingSource CSynchronousAverage CTachoPulses CTorsionalVibration CWheelFinder CWindowlessComboBox CWordSource
        TapCache""",
    "holds no memory": """CCanMessageCompressor CCanMessageFinder CDownsamplingInfo CExpAverFacGenerator CInvalidArgException
        CPODHolder CTimeFloatScaling CTimeSpan CValidSamples FormatArg PulsEntry""",
}

# Side records lie within their objects, all of them.
DECLARED = re.compile(r"^class\s+(?:UMLAUF_\w*API\s+)?(\w+)(?:\s+final)?\s*(?::(?!\s*public CSideRecord<)[^;{]*)?\{", re.M)


def code_of(path):
    return re.sub(r"//.*", "", path.read_text(encoding="utf-8"))


def main():
    root = pathlib.Path(sys.argv[1])
    public = set()
    for path in [*root.glob("umlauf/**/*.h"), *root.glob("io/umlauf_io/**/*.h")]:
        if not {"internal", "os"} & set(path.parts):
            public.update(DECLARED.findall(code_of(path)))
    used = set(re.findall(r"\w+", " ".join(code_of(path) for path in root.glob("tests/memory/*.cpp"))))
    exempt = set(" ".join(EXEMPT.values()).split())
    faults = [f"{name}: no test lets its allocations fail, and no reason says why" for name in sorted(public - used - exempt)]
    faults += [f"{name}: exempt, but tested or not there" for name in sorted(exempt) if name in used or name not in public]
    print("\n".join(faults) or f"{len(public)} classes, {len(exempt)} of them exempt")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
