#!/usr/bin/env python3
"""Tells which regions of a reader's own files a replay reached. Called by scripts/run-fuzz.

    fuzz/coverage.py --list TARGET                            the reader's files
    fuzz/coverage.py TARGET PROGRAM PROFILE [--uncovered]     regions reached; with --uncovered each that was not

A region is what the compiler counts: code without a branch. It counts once, however many instances of a template or
copies of an inline function there are, and as reached when one of them was. Regions of sanitizers do not come in.
"""
import json
import re
import subprocess
import sys

PLATFORM = "platform/quelplatform"
CORE = "src/quelcore"
FORMATS = "src/quel/formats"

# Each reader's own files. Behind a colon: what the names of its functions hold, where the file has other business too.
READERS = {
    "blocks": [f"{CORE}/blocks/QmBlockInfo.cpp:InitInstance|loadFromIniFile|isLensList|partOf|UpdateLensArray|GetActiveBlock"
               "|GetLastMappingID|storeBlockInfo|writeIdentity|inMillionths",
               f"{CORE}/blocks/QmBlockItem.cpp:SetLensSupport2|forEachPiece",
               f"{CORE}/blocks/blockStores.cpp:BlocksIni::(read|exists|sectionOf|BlocksIni)"],
    "calibrations": [*(f"{FORMATS}/{name}.cpp" for name in (
        "ColmapFiles", "ColmapText", "Document", "FoundCameras", "HeadWorld", "KalibrFile", "LiteralDocument", "MrcalFiles",
        "OpenCvFiles", "RosFiles", "XmlDocument", "YamlDocument")),
        f"{FORMATS}/Import.cpp:imported|chosen|givePoses|require|unitOf|posed|called|distanceOf|namesOf"],
    "cameras": ["src/quel/cameras/CameraFile.cpp"],
    "colour_table": [f"{CORE}/presentation/DeviationColorFile.cpp"],
    "corrections": [f"{CORE}/blocks/QmBlockCorrectionParameters.cpp"],
    "dates": [f"{PLATFORM}/windows/dateText.cpp", f"{PLATFORM}/windows/calendar.h",
              f"{PLATFORM}/windows/dates.cpp:VariantTimeToSystemTime|SystemTimeToFileTime|momentOf|yearOf|fieldsOf|isFileTime"],
    "formats": [f"{PLATFORM}/qmEnv/LogText.cpp", f"{PLATFORM}/qmEnv/QmStrFormatW.cpp",
                f"{PLATFORM}/qmEnv/qmMessageTable.cpp"],
    "global_materials": [f"{CORE}/operations/QmXmlMaterialIO.cpp"],
    "home_tables": [f"{PLATFORM}/ground/ini/IniFile.cpp", f"{PLATFORM}/ground/ini/IniFile.h", f"{PLATFORM}/qmEnv/HomeTable.h",
                    f"{PLATFORM}/qmEnv/qmParam.cpp", f"{PLATFORM}/qmEnv/qmCamera.cpp",
                    f"{PLATFORM}/qmEnv/machineId.cpp:fitted|settled|machineId\\[|quelplatform::machineId|qmEnvMachineID|isPlain"],
    "lut": [f"{PLATFORM}/qmDistort/LutFileRead.cpp", f"{PLATFORM}/qmDistort/LutFileCheck.cpp",
            f"{PLATFORM}/qmDistort/LutFileLayout.h"],
    "materials": [f"{CORE}/operations/QmMaterialIO.cpp:read|readRow|readHeader|readTable|replaced",
                  f"{CORE}/operations/MaterialInput.cpp", f"{CORE}/operations/wideStream.cpp"],
    "multi_stage": [f"{CORE}/patches/lutsParams.cpp"],
    "numbers": [f"{PLATFORM}/ground/text/wideNumber.cpp", f"{PLATFORM}/ground/text/iniNumber.h",
                f"{PLATFORM}/ground/text/conversion.cpp", f"{PLATFORM}/ground/text/utf8.h",
                f"{PLATFORM}/ground/text/utf16.h", f"{CORE}/base/wideNumber.cpp"],
    "operations": [f"{CORE}/operations/XMLOperationIO.cpp"],
    "obj": ["src/quel/clouds/Obj.cpp"],
    "off": ["src/quel/clouds/Off.cpp", "src/quel/clouds/TextLines.cpp:TextLines|toNumber|withoutBlanks|isBlank"],
    "pcd": ["src/quel/clouds/Pcd.cpp", "src/quel/clouds/PcdHeader.cpp"],
    "ply": ["src/quel/clouds/Ply.cpp", "src/quel/clouds/PlyHeader.cpp", "src/quel/clouds/Rows.cpp"],
    "profile": [f"{PLATFORM}/ground/ini/ProfileText.cpp", f"{PLATFORM}/ground/ini/ProfileText.h",
                f"{PLATFORM}/ground/ini/ProfileFile.cpp",
                f"{PLATFORM}/ground/ini/ProfileCache.cpp:ProfileEntries|folded", f"{PLATFORM}/windows/profile.cpp"],
    "project_header": [f"{CORE}/project/QmProjectInfo.cpp:InitByXMLHeader|append"],
    "pts": ["src/quel/clouds/Pts.cpp"],
    "registry": [f"{PLATFORM}/qmEnv/QmRegKey.cpp"],
    "rules": [f"{CORE}/project/QmRulezTree.cpp"],
    "setup_header": [f"{CORE}/project/QmSetupInfo.cpp:FillByStream|SaveToStream|takeField|takeName|writeJoined|joinedLength"
                     "|append|GetSetupPath|operator==|Reset|IsValid",
                     f"{CORE}/project/QmSetupNumCyclePath.cpp:FillSetupInfo"],
    "setup_map": [f"{CORE}/project/setupMap.cpp", f"{CORE}/project/WideLines.cpp"],
    "stl": ["src/quel/clouds/Stl.cpp"],
    "surfaces": ["src/quel/clouds/Faces.cpp", "src/quel/clouds/SamePlaces.cpp", "src/quel/clouds/Obj.cpp"],
    "target_mask": [f"{CORE}/features/QmTargetCopMask.cpp"],
    "tensor": [f"{CORE}/tensor/tensorFileReader.cpp", f"{CORE}/tensor/QmReconsTensor.cpp:LoadFromFile",
               f"{CORE}/tensor/QmReconsTensorLuts.cpp:loadDistortLuts|attachLuts|getTensorLutIds|getLutsFileByTensorFile"],
    "tensor_old": [f"{CORE}/tensor/tensorFileReader.cpp", f"{CORE}/tensor/tensorFileDefaults.cpp",
                   f"{CORE}/tensor/QmReconsTensorIO.cpp", f"{CORE}/tensor/distortTables.cpp"],
    "text_points": ["src/quel/clouds/CloudFormats.cpp", "tools/quel/clouds/Points.cpp", "src/quel/clouds/TextRows.cpp"],
    "transform": [f"{PLATFORM}/qmMath/qmMathTransformFile.cpp"],
    "transform_sets": [f"{CORE}/transforms/QmCommutatorTrnsMan.cpp:read|load|AllTrnsSets|findEntry|highestId|setCur|isAbsent"],
    "triplets": [f"{CORE}/patches/QmCorresPtsTriplets.cpp:loadFromFile|readCount|isPossible|noteMissing|bytesLeft|makeRoom|adopt"
                 "|storeToFile|sizeOf|clear"],
    "xml": [f"{PLATFORM}/ground/xml/xmlCheck.cpp", f"{PLATFORM}/ground/xml/xmlDecode.cpp",
            f"{PLATFORM}/ground/xml/xmlCharacters.cpp", f"{PLATFORM}/qmEnv/CMarkupSTL.cpp:Load|SetDoc|GetDoc|take"],
    "xml_cursor": [f"{PLATFORM}/ground/xml/XmlDocument.cpp",
                   f"{PLATFORM}/qmEnv/CMarkupSTL.cpp:Elem|Attrib|Get|Reset|setAttribute|Save|writeWhole|attempt|refuse"],
}

def files_of(target):
    return [entry.partition(":")[0] for entry in READERS[target]]


def demangled(names):
    done = subprocess.run(["c++filt"], input="\n".join(names), capture_output=True, text=True, check=True)
    return done.stdout.split("\n")


def regions(target, program, profile):
    """{file: {(line, column, last line, last column): count}}, of an instance or copy that was reached most."""
    done = subprocess.run(["llvm-cov-14", "export", program, f"-instr-profile={profile}"], capture_output=True, check=True)
    functions = json.loads(done.stdout)["data"][0]["functions"]
    names = demangled([function["name"].rpartition(":")[2] for function in functions])
    found = {}
    for function, name in zip(functions, names):
        for entry in READERS[target]:
            file, _, pattern = entry.partition(":")
            places = [index for index, path in enumerate(function["filenames"]) if path.endswith("/" + file)]
            if not places or (pattern and not re.search(pattern, name)):
                continue
            counts = found.setdefault(file, {})
            for *span, count, place, _, kind in function["regions"]:
                if place in places and kind == 0:
                    counts[tuple(span)] = max(counts.get(tuple(span), 0), count)
    return found


def short(file):
    return file.rpartition("/")[2]


def main():
    if sys.argv[1] == "--list":
        print(f"{sys.argv[2]:16} {' '.join(files_of(sys.argv[2]))}")
        return
    target, program, profile = sys.argv[1:4]
    found = regions(target, program, profile)
    missing = [file for file in files_of(target) if not found.get(file)]
    if missing:
        sys.exit(f"run-fuzz: {target} has no regions of {', '.join(missing)}; is the table in fuzz/coverage.py right?")
    total = sum(len(counts) for counts in found.values())
    reached = sum(1 for counts in found.values() for count in counts.values() if count)
    parts = ", ".join(f"{short(file)} {sum(1 for n in counts.values() if n)}/{len(counts)}" for file, counts in found.items())
    print(f"{target:16} {100 * reached / total:5.1f} % of {total:3} regions: {parts}")
    if "--uncovered" not in sys.argv:
        return
    for file, counts in found.items():
        lines = open(file, encoding="utf-8").read().split("\n")
        for (line, column, *_), count in sorted(counts.items()):
            if not count:
                print(f"  {file}:{line}:{column}: {lines[line - 1].strip()}")


main()
