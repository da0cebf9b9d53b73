"""The examples as a user finds them: a project of their own, built against what `cmake --install` leaves."""

from conftest import BUILD, TREE, run


def test_the_examples_build_outside_of_the_tree(target, tone, tmp_path):
    prefix, build = tmp_path / "prefix", tmp_path / "build"
    run("cmake", "--install", BUILD, "--prefix", prefix)
    target.configure(TREE / "examples", build,
                     f"-Dmd-common-quorin_DIR={prefix}/{target.libraries}/cmake/md-common-quorin")
    run("cmake", "--build", build)
    programs = sorted(source.stem for source in (TREE / "examples").glob("*.cpp"))
    assert [name for name in programs if not (build / name).exists()] == []
    assert target.execute(build / "analyze", tone).startswith(f"{tone}: audio/x-wav\n")
    assert "radio:jazz   application/redirect: " in target.execute(build / "url_translator")
