"""What a site stores, seen from Python."""

import datetime

import pytest

import quel


@pytest.fixture
def home(tmp_path, monkeypatch):
    monkeypatch.setenv("QUEL_HOME", str(tmp_path / "home"))
    (tmp_path / "home").mkdir()
    return tmp_path / "home"


def test_a_block_has_names():
    names = quel.block_names("QUEL0001", 12)
    assert (names.block, names.file, names.lut_file) == ("QUEL0001-12", "QUEL0001-12.tns", "QUEL0001-12.lut")
    with pytest.raises(quel.Error, match="1 to 8 characters"):
        quel.block_names("NINECHARS", 1)


def test_a_tree_holds_projects_parts_and_setups(tmp_path):
    part = tmp_path / "car" / "door"
    for name, marker in (("s1", "setup.qms"), ("s2", "autosetup.qms")):
        (part / name).mkdir(parents=True)
        (part / name / marker).touch()
    (part / "part.qmp").touch()
    tree = quel.project_tree(tmp_path)
    (project,) = tree.projects
    assert (project.name, project.parts[0].name) == ("car", "door")
    assert [(setup.name, setup.automatic) for setup in project.parts[0].setups] == [("s1", False), ("s2", True)]
    age = datetime.datetime.now(datetime.timezone.utc) - project.parts[0].setups[0].modified
    assert abs(age.total_seconds()) < 3600
    assert [setup.name for setup in quel.project_tree(tmp_path, "auto").projects[0].parts[0].setups] == ["s2"]
    with pytest.raises(ValueError, match="kind: expected one of setup, auto, any"):
        quel.project_tree(tmp_path, "manual")
    with pytest.raises(quel.Error, match="is no directory"):
        quel.project_tree(tmp_path / "none")


def test_materials_come_back(tmp_path):
    rows = [quel.Material(3, 35, "Steel", (0.5, 1.0, 2.0), 7), quel.Material(3, 50, "Aluminium cast", (0.25, 1.5, 3.0), 0)]
    quel.write_materials(tmp_path / "materials.txt", rows)
    assert quel.read_materials(tmp_path / "materials.txt") == rows
    with pytest.raises(quel.Error, match="stands twice"):
        quel.write_materials(tmp_path / "materials.txt", [rows[0], rows[0]])
    assert quel.read_materials(tmp_path / "materials.txt") == rows
    with pytest.raises(quel.Error) as caught:
        quel.read_materials(tmp_path / "none.txt")
    assert caught.value.file.endswith("none.txt")


def test_operations_are_listed(tmp_path):
    file = tmp_path / "operations.xml"
    file.write_text('<?xml version="1.0" encoding="UTF-8" ?><QuelmetraDataFile VersionFile="1.00">'
                    '<Operation ID="7" Type="COP"><Tiles Size="2">3 14 </Tiles></Operation></QuelmetraDataFile>')
    listed = quel.read_operations(file)
    assert listed == quel.OperationList("1.00", (quel.Operation("7", "COP", "3 14 "),))
    file.write_text("<Other/>")
    with pytest.raises(quel.Error, match="is no operations file"):
        quel.read_operations(str(file))


def test_a_fresh_site_has_no_plates_and_no_numbers(home):
    assert quel.plates() == [] and quel.setup_numbers() == []
    (home / "SetupMap.txt").write_text("        17         2 /store/car/door/s1\n")
    (home / "blocks.ini").write_text("[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=bench\nBlockLens=35;50\n")
    assert quel.setup_numbers() == [quel.NumberedSetup(17, 2, "/store/car/door/s1")]
    (plate,) = quel.plates()
    assert (plate.name, plate.lenses, plate.active) == ("bench", (35, 50), True)
